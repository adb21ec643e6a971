# tl_sources(<variable> <pattern>...): the files that this system builds, "*_posix.cpp" and
# "*_windows.cpp" (before a "_test", too) being only for one.
function(tl_sources variable)
    file(GLOB found CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${ARGN})
    if(WIN32)
        list(FILTER found EXCLUDE REGEX "_posix(_test)?\\.cpp$")
    else()
        list(FILTER found EXCLUDE REGEX "_windows(_test)?\\.cpp$")
    endif()
    list(TRANSFORM found PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set(${variable} ${found} PARENT_SCOPE)
endfunction()
