# tl_sources(<variable> <pattern>...): the files that this system builds, "*_posix.cpp" and
# "*_windows.cpp" (before a "_test", too) being only for one. Those are compiled alone, also where others share
# one run of the compiler: an operating system's headers define too much.
function(tl_sources variable)
    file(GLOB found CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} ${ARGN})
    if(WIN32)
        list(FILTER found EXCLUDE REGEX "_posix(_test)?\\.cpp$")
    else()
        list(FILTER found EXCLUDE REGEX "_windows(_test)?\\.cpp$")
    endif()
    list(TRANSFORM found PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
    set(${variable} ${found} PARENT_SCOPE)
    list(FILTER found INCLUDE REGEX "_(posix|windows)(_test)?\\.cpp$")
    set_source_files_properties(${found} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# tl_together(<target>...): their sources share runs of the compiler, which reads the same headers once then.
set(TLLOGICS_UNITY OFF CACHE BOOL "Compile sources of a part together")
function(tl_together)
    if(TLLOGICS_UNITY)
        set_target_properties(${ARGN} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 16)
    endif()
endfunction()
