# What the shared libraries have in common: they depend on nothing but the system, export what their list
# says, hold no more than they use, and are hard to attack. Sanitizers bring their own protection.

# What the code in them is compiled with. FORTIFY needs optimised code, which tests are not.
add_library(tl_shipped INTERFACE)
target_compile_options(tl_shipped INTERFACE -ffunction-sections -fdata-sections)
if(NOT WIN32 AND NOT TLLOGICS_SANITIZE)
    target_compile_options(tl_shipped INTERFACE -fstack-protector-strong -fcf-protection)
    if(NOT CMAKE_BUILD_TYPE STREQUAL "" AND NOT CMAKE_BUILD_TYPE STREQUAL Debug)
        target_compile_options(tl_shipped INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
endif()

# tl_objects(<name> <source>...): a part of a shared library, which tests link, too.
function(tl_objects name)
    add_library(${name} OBJECT ${ARGN})
    target_link_libraries(${name} PUBLIC tl_common PRIVATE tl_shipped)
endfunction()

# What the compiler's run-time library needs to be a part of them.
if(NOT TLLOGICS_SANITIZE)
    tl_objects(tl_runtime ${PROJECT_SOURCE_DIR}/platform/runtime_${system}.cpp)
endif()

# tl_link_shared(<target>): how they are linked.
function(tl_link_shared target)
    target_link_libraries(${target} PRIVATE tl_common tl_shipped)
    if(TLLOGICS_SANITIZE)
        return()
    endif()
    target_link_libraries(${target} PRIVATE tl_runtime)
    target_link_options(${target} PRIVATE LINKER:--gc-sections -static-libstdc++ -static-libgcc)
    if(WIN32)
        target_link_options(${target} PRIVATE LINKER:--dynamicbase,--high-entropy-va,--nxcompat)
    else()
        target_link_options(${target} PRIVATE LINKER:--no-undefined,-z,relro,-z,now,-z,noexecstack)
    endif()
endfunction()

# tl_shared_library(<name> <list> <description>): without its sources. The debug symbols go to a file of
# their own beside it.
function(tl_shared_library name list description)
    add_library(${name} SHARED)
    tl_link_shared(${name})
    tl_exports(${name} ${list})
    if(WIN32)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${name}.rc @ONLY)
        target_sources(${name} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${name}.rc)
    endif()
    if(PROJECT_IS_TOP_LEVEL AND NOT TLLOGICS_SANITIZE)
        set(library $<TARGET_FILE:${name}>)
        # Into a DLL it writes a time.
        set(objcopy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
        add_custom_command(TARGET ${name} POST_BUILD VERBATIM
            COMMAND ${objcopy} --only-keep-debug ${library} ${library}.debug
            COMMAND ${objcopy} --strip-all --add-gnu-debuglink=${library}.debug ${library})
    endif()
endfunction()
