# Header-only use of nlohmann-json, CLI11, fmt and Boost, the same for Linux and Windows. The headers are
# linked into a directory of their own, since a cross compiler must not see the rest of /usr/include.
set(third_party_include ${CMAKE_BINARY_DIR}/third_party/include)
file(MAKE_DIRECTORY ${third_party_include})

function(tl_third_party directory header package)
    find_path(TL_${directory}_INCLUDE ${directory}/${header} NO_CMAKE_FIND_ROOT_PATH PATHS /usr/include
              DOC "Directory that holds ${directory}/${header}")
    if(NOT TL_${directory}_INCLUDE)
        message(FATAL_ERROR "${directory}/${header} is missing: install ${package}.")
    endif()
    file(CREATE_LINK ${TL_${directory}_INCLUDE}/${directory} ${third_party_include}/${directory} SYMBOLIC)
endfunction()

tl_third_party(nlohmann json.hpp nlohmann-json3-dev)
tl_third_party(CLI CLI.hpp libcli11-dev)
tl_third_party(fmt format.h libfmt-dev)
tl_third_party(boost version.hpp libboost-dev)

add_library(tl_third_party INTERFACE)
target_include_directories(tl_third_party SYSTEM INTERFACE ${third_party_include})
add_library(tl_fmt STATIC ${PROJECT_SOURCE_DIR}/cmake/fmt_format.cpp)
target_include_directories(tl_fmt SYSTEM PRIVATE ${third_party_include})
target_compile_options(tl_fmt PRIVATE -O1 -g0)
target_link_libraries(tl_third_party INTERFACE tl_fmt)
