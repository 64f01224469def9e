# cmake -D OUTPUT=FILE.cpp -D DIRECTORY=DIR -D FILES="a;b" -P embed.cmake: files as a table of a C++ source.

set(types ".html=text/html\; charset=utf-8" ".css=text/css\; charset=utf-8" ".js=text/javascript\; charset=utf-8"
  ".svg=image/svg+xml")
set(arrays "")
set(rows "")
set(number 0)
foreach(name IN LISTS FILES)
  file(READ ${DIRECTORY}/${name} bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  string(REGEX REPLACE "((0x..,){24})" "\\1\n" bytes "${bytes}")
  string(APPEND arrays "constexpr unsigned char bytes_${number}[] = {\n${bytes}};\n")
  get_filename_component(extension ${name} LAST_EXT)
  foreach(pair IN LISTS types)
    if(pair MATCHES "^${extension}=(.*)$")
      set(type ${CMAKE_MATCH_1})
    endif()
  endforeach()
  string(REGEX REPLACE "^index.html$" "" path ${name})
  string(APPEND rows "    {\"/${path}\", \"${type}\", {reinterpret_cast<const char *>(bytes_${number}), sizeof bytes_${number}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "// Made by embed.cmake.\n#include \"panel/page_files.hpp\"\n\nnamespace dravik::sim {\nnamespace {\n
${arrays}} // namespace

std::span<const page_file> page_files() noexcept {
  static const page_file files[] = {\n${rows}  };
  return files;
}\n\n} // namespace dravik::sim\n")
