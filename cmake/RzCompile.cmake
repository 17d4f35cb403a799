# How our code is compiled: one place for language level, warnings, sanitizers and the flags that pin the bits.

set(RZ_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize takes them (empty: none)")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(RZ_CCACHE ccache)
if(RZ_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${RZ_CCACHE})
endif()

# Every target of ours.
add_library(rz_compile INTERFACE)
target_compile_features(rz_compile INTERFACE cxx_std_17)
target_compile_options(rz_compile INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off)
if(RZ_SANITIZE)
    target_compile_options(rz_compile INTERFACE -fsanitize=${RZ_SANITIZE} -fno-omit-frame-pointer
                                                -fno-sanitize-recover=all)
    target_link_options(rz_compile INTERFACE -fsanitize=${RZ_SANITIZE})
endif()

# The two libraries: SSE4.1 is the floor, nothing of a compiler's own choice above it.
add_library(rz_library INTERFACE)
target_link_libraries(rz_library INTERFACE rz_compile)
target_compile_options(rz_library INTERFACE -msse4.1)

# Wide files get -mavx2 and nothing more: -march or -mfma would let a compiler fuse a x b + c and change bits.
function(rz_wide_sources)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "-mavx2;-mno-fma")
endfunction()

# Keeps instantiations of the standard library's templates out of what a library exports.
set(RZ_HIDE_STD ${CMAKE_CURRENT_LIST_DIR}/hide_std.map)

# rz_shared_library(<target> <export name> <define>): a shared library made of <target>_objects, so that tests can
# link the objects themselves and call internal functions by name.
function(rz_shared_library target exported define)
    add_library(${target} SHARED $<TARGET_OBJECTS:${target}_objects>)
    add_library(RZ_Obl::${exported} ALIAS ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${exported} VERSION ${PROJECT_VERSION}
                                               SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH "$ORIGIN"
                                               LINK_DEPENDS ${RZ_HIDE_STD})
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
                                                $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_compile_features(${target} PUBLIC cxx_std_17)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:rz_library>)
    target_link_options(${target} PRIVATE -Wl,--version-script=${RZ_HIDE_STD})
    if(NOT RZ_SANITIZE) # a sanitizer's run-time stands in the program
        target_link_options(${target} PRIVATE -Wl,--no-undefined)
    endif()
    set_target_properties(${target}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden
                                                       VISIBILITY_INLINES_HIDDEN ON)
    target_compile_definitions(${target}_objects PRIVATE ${define})
    target_include_directories(${target}_objects PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target}_objects PUBLIC rz_library)
endfunction()
