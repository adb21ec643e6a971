# tl_missing(<target> <what> <package>): building the target fails, and says what is missing for it. Other
# targets don't need it.
function(tl_missing target what package)
    add_custom_target(${target}_need COMMAND ${CMAKE_COMMAND} -E echo
                      "\"${target}\" needs ${what}: install ${package} and configure again."
                      COMMAND ${CMAKE_COMMAND} -E false VERBATIM)
    add_dependencies(${target} ${target}_need)
endfunction()
