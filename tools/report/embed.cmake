# Writes a C++ source that holds files as bytes, so that the program needs none of them when it runs.
#   cmake -DOUTPUT=<file.cpp> "-DFILES=<name>=<path>|<name>=<path>..." -P embed.cmake
# Each becomes `const std::string_view <name>` in tav3d::tools::report_assets, as mapping_report_assets.h declares them. Files of the same name are
# joined in the order given.

set(source "// Made by tools/report/embed.cmake.\n#include \"tools/mapping_report_assets.h\"\n\nnamespace tav3d::tools::report_assets\n{\n")
string(REPLACE "|" ";" files "${FILES}")
set(names "")
foreach(entry IN LISTS files)
  if(NOT entry MATCHES "^([A-Za-z]+)=(.+)$")
    message(FATAL_ERROR "embed.cmake: ${entry} is not <name>=<path>")
  endif()
  set(name "${CMAKE_MATCH_1}")
  file(READ "${CMAKE_MATCH_2}" hex HEX)
  list(APPEND names "${name}")
  string(APPEND hex_${name} "${hex}")
endforeach()
list(REMOVE_DUPLICATES names)
foreach(name IN LISTS names)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex_${name}}")
  string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
  string(APPEND source "static const unsigned char ${name}Bytes[] = {\n${bytes}};\n"
    "const std::string_view ${name}{reinterpret_cast<const char*>(${name}Bytes), sizeof(${name}Bytes)};\n\n")
endforeach()
file(WRITE "${OUTPUT}" "${source}} // namespace tav3d::tools::report_assets\n")
