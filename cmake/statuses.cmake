# tl_embed_text(<variable> <file> <namespace> <name>): a source that holds a text file's bytes as a constant.
function(tl_embed_text variable file namespace name)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} text)
    # Short literals: compilers limit the length of one.
    string(REPLACE "\n" "\n)text\"\n    R\"text(" text "${text}")
    file(CONFIGURE OUTPUT ${source} @ONLY CONTENT
"namespace ${namespace} {
extern const char* const ${name};
const char* const ${name} =
    R\"text(@text@)text\";
} // namespace ${namespace}
")
    # Nothing to debug, and its own path would depend on a compiler's cache.
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS -g0)
    set(${variable} ${source} PARENT_SCOPE)
endfunction()
