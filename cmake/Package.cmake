# The .deb packages, which scripts/package makes.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME melvane)
set(CPACK_PACKAGE_VENDOR "the Melvane developers")
set(CPACK_PACKAGE_CONTACT "Melvane developers <melvane@tolvyn.net>")
set(CPACK_COMPONENTS_ALL service bench dev)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(same "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME melvane)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
    "${CMAKE_SOURCE_DIR}/cmake/service/triggers;${CMAKE_SOURCE_DIR}/cmake/service/shlibs")
set(CPACK_COMPONENT_SERVICE_DESCRIPTION "audio settings service of a head unit
 It takes audio commands of the HMI, sends them to the audio MCU, and
 publishes the settings that the MCU has accepted or reports.")

set(CPACK_DEBIAN_BENCH_PACKAGE_NAME melvane-bench)
set(CPACK_DEBIAN_BENCH_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_BENCH_PACKAGE_DEPENDS "melvane ${same}")
set(CPACK_DEBIAN_BENCH_PACKAGE_RECOMMENDS "fuse3, python3")
set(CPACK_DEBIAN_BENCH_PACKAGE_CONTROL_EXTRA
    "${CMAKE_SOURCE_DIR}/cmake/bench/postinst;${CMAKE_SOURCE_DIR}/cmake/bench/prerm;${CMAKE_SOURCE_DIR}/cmake/bench/postrm")
set(CPACK_COMPONENT_BENCH_DESCRIPTION "test bench of the audio settings service
 A publish/subscribe server, a simulated MCU, and tools that set, watch,
 record and explain what the service does. The systemd unit
 melvane-bench.target runs it all.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME melvane-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "melvane ${same}")
set(CPACK_COMPONENT_DEV_DESCRIPTION "headers of the framework of the audio settings service
 For services that are built on the same files, PPS objects and run loop.")

# What Debian expects beside the programs: changelogs, compressed the same each time, and a copyright.
set(doc ${CMAKE_BINARY_DIR}/doc)
file(MAKE_DIRECTORY ${doc})
execute_process(COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/CHANGELOG.md
    OUTPUT_FILE ${doc}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/cmake/changelog
    OUTPUT_FILE ${doc}/changelog.Debian.gz COMMAND_ERROR_IS_FATAL ANY)
foreach(component service bench dev)
    string(TOUPPER ${component} upper)
    install(FILES ${doc}/changelog.gz ${doc}/changelog.Debian.gz cmake/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component})
endforeach()

set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/ClampTimes.cmake)
include(CPack)
