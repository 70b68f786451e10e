# Writes OUTPUT: a C++ source whose function FUNCTION (in NAMESPACE, declared in HEADER) returns
# the text of INPUT, so a script kept as its own file in the tree is compiled into the library
# byte for byte. The file's final line break is not part of the text.
#   cmake -DINPUT=... -DOUTPUT=... -DHEADER=... -DNAMESPACE=... -DFUNCTION=... -P embed_text.cmake
foreach(argument IN ITEMS INPUT OUTPUT HEADER NAMESPACE FUNCTION)
  if("${${argument}}" STREQUAL "")
    message(FATAL_ERROR "embed_text.cmake: ${argument} is not set")
  endif()
endforeach()

file(READ "${INPUT}" content)
string(REGEX REPLACE "\r?\n$" "" content "${content}")
# The text goes into a raw string literal, which must not contain its own end.
set(delimiter "korvane_text")
string(FIND "${content}" ")${delimiter}\"" clash)
if(NOT clash EQUAL -1)
  message(FATAL_ERROR "embed_text.cmake: ${INPUT} contains )${delimiter}\"")
endif()

get_filename_component(name "${INPUT}" NAME)
set(body "// Generated from ${name} by embed_text.cmake; do not edit.\n")
string(APPEND body "#include \"${HEADER}\"\n\nnamespace ${NAMESPACE} {\n\n")
string(APPEND body "const std::string& ${FUNCTION}() {\n")
string(APPEND body "  static const std::string text = R\"${delimiter}(${content})${delimiter}\";\n")
string(APPEND body "  return text;\n}\n\n}  // namespace ${NAMESPACE}\n")
file(WRITE "${OUTPUT}.tmp" "${body}")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
