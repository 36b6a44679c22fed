# Installation: the library, its public headers, and what find_package() and pkg-config need.

install(TARGETS ttmlsource EXPORT TTMLSourceTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY Include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ttmlsource FILES_MATCHING PATTERN "*.h")
# Part of the layout of a source: the TV service's records.
install(FILES "${TTML_PLATFORM_INCLUDE_DIR}/PlatformTvServiceData.h"
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ttmlsource)
install(EXPORT TTMLSourceTargets NAMESPACE TTMLSource:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TTMLSource)

configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/TTMLSourceConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/TTMLSourceConfig.cmake"
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TTMLSource
)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TTMLSourceConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(
    FILES "${PROJECT_BINARY_DIR}/TTMLSourceConfig.cmake" "${PROJECT_BINARY_DIR}/TTMLSourceConfigVersion.cmake"
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TTMLSource
)

# Relative, so that the installed tree can be moved.
file(RELATIVE_PATH TTML_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file("${PROJECT_SOURCE_DIR}/cmake/ttmlsource.pc.in" "${PROJECT_BINARY_DIR}/ttmlsource.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ttmlsource.pc" DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
