# Splits a man page of a group, made by Doxygen, into a page for each function in the directory `into`. Variables: group,
# version, and `exported`, the names that are functions or globals.

function write(line) { print line >page }

# Pages of one function refer to the page of their group.
function finish() {
  if (page == "") return
  write(".SH SEE ALSO")
  write("\\fBdravik_" group "\\fP(3dravik)")
  close(page)
  page = ""
}

function start(signature) {
  finish()
  name = signature
  sub(/ ?\(.*/, "", name)
  sub(/.*[ *]/, "", name)
  if (!((" " exported " ") ~ (" " name " "))) return
  page = into "/" name ".3dravik"
  write(".TH \"" name "\" 3dravik \"\" \"libdravik " version "\" \"libdravik\"")
  write(".SH NAME")
  is_named = 0
  synopsis = signature
}

function introduce(summary) {
  sub(/\\&\..*/, "", summary)
  gsub(/\\f[BIPC]/, "", summary)
  write(name " \\- " summary)
  write(".SH SYNOPSIS\n.nf\n#include <dravik.h>\n.PP\n" synopsis ";\n.fi\n.PP\nLink with \\-ldravik.\n.SH DESCRIPTION")
  is_named = 1
}

/^\.SH "Function Documentation"/ { in_functions = 1; next }
/^\.SH / { finish(); in_functions = 0 }
!in_functions { next }
/^\.SS / { start(substr($0, 6, length($0) - 6)); next }
page == "" { next }
!is_named && /^\.PP/ { next }
!is_named && /[^ ]/ { introduce($0) }
/^\\fBParameters\\fP$/ { print_section = "PARAMETERS" }
/^\\fBReturns\\fP$/ { print_section = "RETURN VALUE" }
/^\\fBNote\\fP$/ { print_section = "NOTES" }
print_section != "" { write(".SH " print_section); print_section = ""; next }
is_named { write($0) }
END { finish() }
