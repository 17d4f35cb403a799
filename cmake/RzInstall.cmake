# Installed: both libraries, the public headers as they stand under src/, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS RZ_Obl RZ_Lower EXPORT RZ_OblTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT RZ_OblTargets NAMESPACE RZ_Obl:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/RZ_Obl)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/RZ_OblConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/RZ_OblConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/RZ_Obl)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/RZ_OblConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/RZ_OblConfig.cmake ${PROJECT_BINARY_DIR}/RZ_OblConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/RZ_Obl)

# Relative, so that an installed tree may be moved, as CMake's package may.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
           BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pc_to_prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/rz_obl.pc.in ${PROJECT_BINARY_DIR}/rz_obl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/rz_obl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

get_property(public_headers GLOBAL PROPERTY RZ_PUBLIC_HEADERS)
foreach(header IN LISTS public_headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()
