# Checks of sources for scripts/test: the manual by Doxygen, the layout of comments, and enums. Sourced after lib.sh.

manual=$root/build/manual

# undocumented: reports values of enums without a description, which Doxygen accepts.
undocumented() {
  awk '
    /<enumvalue / { name = ""; described = 0 }
    /<name>/ { name = $0; gsub(/^ *<name>|<\/name>.*$/, "", name) }
    /<para>/ { described = 1 }
    /<\/enumvalue>/ && !described { print "error: " name " is not documented" }' "$manual"/xml/*.xml | sort -u
}

# exported: prints the exported names.
exported() {
  sed -n '/global:/,/local:/{s,/\*.*\*/,,;s/global:\|local:.*//;p}' src/exports.map | grep -oE '[A-Za-z_0-9]+'
}

# manual: builds the manual of the header. An incomplete description, or an exported name without one, is an error.
manual() {
  rm -rf "$manual"
  mkdir -p "$manual"
  doxygen docs/Doxyfile || return 1
  undocumented >"$manual/errors"
  exported | while read -r name; do
    grep -qF "<name>$name</name>" "$manual"/xml/*.xml || echo "error: $name is not in the manual"
  done >>"$manual/errors"
  [ ! -s "$manual/errors" ] || { cat "$manual/errors" && return 1; }
  [ "$(exported | wc -l)" -gt 0 ] || { echo 'error: no exported name found' && return 1; }
  echo "checked: $(exported | wc -l) exported names"
}

# plain_enums FILE...: reports enums that are not classes.
plain_enums() {
  awk '
    /^[ \t]*((typedef|static|const|constexpr|extern)[ \t]+)*enum([ \t:{]|$)/ && !/enum (class|struct) / {
      print FILENAME ":" FNR ": error: enum without class; write an enum class, or constexpr values for numbers"
      bad = 1
    }
    END { exit bad }' "$@"
}

# comment_layout FILE...: reports comments that end in a line of one word, continuation lines of @param and @return
# that are not indented, and required behaviour that is not marked "Intentional:".
comment_layout() {
  awk '
    function report(line, text) { print FILENAME ":" line ": error: " text; bad = 1 }
    function end_comment() { if (lonely) report(lonely, "one word on the last line of a comment"); lonely = 0; words = 0 }
    FNR == 1 { files++; end_comment(); tag = 0 }
    END { end_comment(); exit bad || !files }
    !/^[ \t]*(\/\/|\/\*|\*)/ { end_comment(); tag = 0; next }
    {
      text = $0
      sub(/^[ \t]*(\/\/\/?<?|\/\*+<?|\*+\/?)/, "", text)
      sub(/\*\/.*$/, "", text)
      if (tag && text ~ /^ [^ @]/) report(FNR, "continuation of a @param or @return without indentation")
      if (text ~ /^ @/) tag = text ~ /^ @(param|return)/
      if (text !~ /[^ ]/) tag = 0
      if (tolower(text) ~ /on purpose|deliberate|by design/) report(FNR, "write \"Intentional: ...\"")
      if (text ~ /^ *@[{}]/) text = ""
      count = split(text, unused)
      if (count == 0) end_comment()
      lonely = count == 1 && words > 3 ? FNR : 0
      words = count
    }' "$@"
}
