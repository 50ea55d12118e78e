# Compiles a file into the library as bytes.
#
# Included: velmora_embed_resource(<target> <file> <symbol>) adds a generated source that
# defines, in namespace velmora::resources, `const unsigned char <symbol>[]` and
# `const std::size_t <symbol>Size`, rebuilt whenever the file changes.
# Run as a script (-P) with INPUT, OUTPUT and SYMBOL: writes that source.

if(CMAKE_SCRIPT_MODE_FILE)
  file(READ "${INPUT}" hex HEX)
  string(LENGTH "${hex}" digits)
  math(EXPR size "${digits} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  # Sixteen bytes a line keeps the generated file readable in a diff.
  string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){16})" "\\1\n    " bytes "${bytes}")
  if(size EQUAL 0)
    set(bytes "0x00")
  endif()
  file(WRITE "${OUTPUT}.tmp"
    "// Generated from ${INPUT}; do not edit.\n"
    "#include <cstddef>\n\n"
    "namespace velmora::resources {\n\n"
    "extern const unsigned char ${SYMBOL}[];\n"
    "extern const std::size_t ${SYMBOL}Size;\n"
    "const unsigned char ${SYMBOL}[] = {\n    ${bytes}};\n"
    "const std::size_t ${SYMBOL}Size = ${size};\n\n"
    "}  // namespace velmora::resources\n")
  file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
  file(REMOVE "${OUTPUT}.tmp")
  return()
endif()

set(VELMORA_EMBED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

function(velmora_embed_resource target file symbol)
  get_filename_component(input "${file}" ABSOLUTE)
  set(output "${CMAKE_CURRENT_BINARY_DIR}/resources/${symbol}.cpp")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} -DINPUT=${input} -DOUTPUT=${output} -DSYMBOL=${symbol}
            -P ${VELMORA_EMBED_SCRIPT}
    DEPENDS "${input}" ${VELMORA_EMBED_SCRIPT}
    COMMENT "Embedding ${file}"
    VERBATIM)
  target_sources(${target} PRIVATE "${output}")
endfunction()
