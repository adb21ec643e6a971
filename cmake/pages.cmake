# tl_pages(<target> <header> <function> <file>...): the files become part of the target, as the pages that the
# function answers, which the header declares. Run as a script it writes the source that has them.
if(NOT CMAKE_SCRIPT_MODE_FILE)
    set(TL_PAGES_SCRIPT ${CMAKE_CURRENT_LIST_FILE})
    function(tl_pages target header function)
        set(files ${ARGN})
        list(TRANSFORM files PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
        set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_pages.cpp)
        add_custom_command(
            OUTPUT ${source}
            COMMAND ${CMAKE_COMMAND} "-DSOURCE=${source}" "-DHEADER=${header}" "-DFUNCTION=${function}"
                    "-DFILES=${files}" -P ${TL_PAGES_SCRIPT}
            DEPENDS ${files} ${TL_PAGES_SCRIPT} VERBATIM)
        # Nothing to debug, and its own path would depend on a compiler's cache.
        set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS -g0)
        target_sources(${target} PRIVATE ${source})
    endfunction()
    return()
endif()

set(type_.html "text/html; charset=utf-8")
set(type_.css "text/css; charset=utf-8")
set(type_.js "text/javascript; charset=utf-8")
set(type_.svg "image/svg+xml")

set(texts "")
set(pages "")
foreach(file IN LISTS FILES)
    get_filename_component(name ${file} NAME)
    get_filename_component(extension ${file} LAST_EXT)
    string(MAKE_C_IDENTIFIER ${name} identifier)
    string(REGEX REPLACE "^index\\.html$" "" path ${name})
    file(READ ${file} bytes HEX)
    string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${bytes}")
    string(APPEND texts "constexpr char ${identifier}[] = {${bytes}};\n")
    string(APPEND pages "    {\"/${path}\", \"${type_${extension}}\", {${identifier}, sizeof ${identifier}}},\n")
endforeach()
file(WRITE ${SOURCE} "#include \"${HEADER}\"

namespace {

${texts}
constexpr web::Page PAGES[] = {
${pages}};

} // namespace

std::span<const web::Page> ${FUNCTION}()
{
    return PAGES;
}
")
