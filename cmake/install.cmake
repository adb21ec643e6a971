# What "cmake --install" puts where, by component: "runtime" is the library, "development" what a program is
# built with, "tools" the programs and the simulated device, "documentation" the pages, samples and bindings.
# Everything may be moved together to another prefix.
if(WIN32)
    # Windows looks beside the program: here a till finds the simulated device, and nowhere else.
    set(simulator_directory simulator)
    set(simulator_programs simulator)
else()
    # Never beside the library, which would load it in place of the real device's.
    set(simulator_directory ${CMAKE_INSTALL_LIBDIR}/tllogics/simulator)
    set(simulator_programs ${CMAKE_INSTALL_BINDIR})
endif()
set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/tllogics)
set(pkgconfig_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS tllogics
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)

file(GLOB public_headers CONFIGURE_DEPENDS api/tllogics.h bindings/c/*.h bindings/cpp/*.hpp)
install(FILES ${public_headers} TYPE INCLUDE COMPONENT development)

# tl_way(<variable> <from> <to>): the relative path between two installed directories.
function(tl_way variable from to)
    file(RELATIVE_PATH way /prefix/${from} /prefix/${to})
    string(REGEX REPLACE "/$" "" way "${way}")
    set(${variable} ${way} PARENT_SCOPE)
endfunction()
tl_way(to_include ${package_directory} ${CMAKE_INSTALL_INCLUDEDIR})
tl_way(to_library ${package_directory} ${CMAKE_INSTALL_LIBDIR})
tl_way(to_runtime ${package_directory} ${CMAKE_INSTALL_BINDIR})
tl_way(to_simulator ${package_directory} ${simulator_directory})
configure_file(cmake/tllogics-config.cmake.in package/tllogics-config.cmake @ONLY)
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/tllogics-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/tllogics-config.cmake
              ${PROJECT_BINARY_DIR}/package/tllogics-config-version.cmake
        DESTINATION ${package_directory} COMPONENT development)

tl_way(to_prefix ${pkgconfig_directory} "")
configure_file(cmake/tllogics.pc.in package/tllogics.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/tllogics.pc DESTINATION ${pkgconfig_directory}
        COMPONENT development)

if(NOT TLLOGICS_SANITIZE)
    install(TARGETS Ostrivane
            RUNTIME DESTINATION ${simulator_directory} COMPONENT tools
            LIBRARY DESTINATION ${simulator_directory} COMPONENT tools
            ARCHIVE COMPONENT unused EXCLUDE_FROM_ALL)
    install(TARGETS till tellarion DESTINATION ${simulator_programs} COMPONENT tools)
    install(TARGETS tllog DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    # Two of them need nothing of ours; the till finds the libraries in the build as well as installed.
    set_target_properties(tellarion tllog PROPERTIES INSTALL_RPATH "")
    if(WIN32)
        install(FILES $<TARGET_FILE:tllogics> DESTINATION ${simulator_programs} COMPONENT tools)
    else()
        install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
        tl_way(to_library ${simulator_programs} ${CMAKE_INSTALL_LIBDIR})
        tl_way(to_simulator ${simulator_programs} ${simulator_directory})
        set_target_properties(till PROPERTIES
                              INSTALL_RPATH "$ORIGIN/${to_simulator};$ORIGIN/${to_library};$ORIGIN")
    endif()
endif()

# Laid out as in the source, so that links lead from page to page.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME documentation)
install(FILES README.md CHANGELOG.md TYPE DOC OPTIONAL)
install(DIRECTORY docs examples TYPE DOC PATTERN man EXCLUDE)
install(FILES simulator/README.md simulator/tellarion_simulator.h DESTINATION ${CMAKE_INSTALL_DOCDIR}/simulator)
install(FILES api/tllogics.h DESTINATION ${CMAKE_INSTALL_DOCDIR}/api)
install(DIRECTORY bindings TYPE DOC OPTIONAL PATTERN __pycache__ EXCLUDE)
