# Installs the library, its public headers, a CMake package config and a
# pkg-config file.
include(CMakePackageConfigHelpers)

# The installed programs find the library beside them (RUNPATH relative to
# the binary), so they run from any prefix without LD_LIBRARY_PATH.
function(kv_install_program target)
    file(RELATIVE_PATH libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libdir}")
    target_link_options(${target} PRIVATE "LINKER:--enable-new-dtags")
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
kv_install_program(sensorctl)
kv_install_program(camsim)

install(TARGETS sensorcontrol EXPORT SensorControlTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

foreach(layer platform foundation config controller drivers)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${layer}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sensorcontrol
        FILES_MATCHING PATTERN "*.h")
endforeach()

install(EXPORT SensorControlTargets
    NAMESPACE SensorControl::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SensorControl)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/SensorControlConfig.cmake.in
    ${PROJECT_BINARY_DIR}/SensorControlConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SensorControl)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/SensorControlConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/SensorControlConfig.cmake
              ${PROJECT_BINARY_DIR}/SensorControlConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/SensorControl)

file(RELATIVE_PATH KV_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KV_PC_TO_PREFIX "${KV_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/sensorcontrol.pc.in
    ${PROJECT_BINARY_DIR}/sensorcontrol.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sensorcontrol.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
