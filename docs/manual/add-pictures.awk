# For Doxygen: the header with a picture at the end of each description whose call has one in the directory `pictures`.
/^\/\*\*$/ { comment = $0; is_inside = 1; next }
is_inside && /^ \*\/$/ { is_inside = 0; is_pending = 1; next }
is_inside { comment = comment "\n" $0; next }
is_pending {
  if (/^DRAVIK_API/ && match($0, /[a-z_]+\(/)) {
    picture = substr($0, RSTART, RLENGTH - 1) ".png"
    if ((getline line <(pictures "/" picture)) > 0) comment = comment "\n *\n * @image html " picture
    close(pictures "/" picture)
  }
  print comment "\n */"
  is_pending = 0
}
{ print }
