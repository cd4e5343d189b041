# What is installed where, in three components: the service, the tools of a bench, and what other programs are built with.

# Manual pages are installed as Debian has them: compressed, and the same bytes each time.
function(install_pages component section)
    foreach(page ${ARGN})
        execute_process(COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/docs/man/${page}
            OUTPUT_FILE ${CMAKE_BINARY_DIR}/man/${page}.gz COMMAND_ERROR_IS_FATAL ANY)
        install(FILES ${CMAKE_BINARY_DIR}/man/${page}.gz
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
    endforeach()
endfunction()
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man)

install(TARGETS TLGPublicLib TLGHost EXPORT melvane
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT service NAMELINK_COMPONENT dev)
install(TARGETS melvane RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT service)
install_pages(service 8 melvane.8)
install_pages(service 5 melvane-pps.5 melvane-link.5)

set(tools ppsd ppsctl ppsfs mcusim mculink eqctl)
if(TARGET melvane-panel)
    list(APPEND tools melvane-panel)
endif()
set_target_properties(melvane ${tools} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(TLGPublicLib PROPERTIES INSTALL_RPATH "$ORIGIN")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    # The loader finds them.
    set_target_properties(melvane TLGPublicLib ${tools} PROPERTIES INSTALL_RPATH "")
endif()

install(TARGETS ${tools} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT bench)
install(PROGRAMS scripts/explain RENAME melvane-explain DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT bench)
install_pages(bench 8 ppsd.8)
install_pages(bench 1 ppsctl.1 ppsfs.1 melvane-panel.1 eqctl.1 mcusim.1 mculink.1 melvane-explain.1)
install(FILES tools/wireshark/melvane.lua
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/wireshark/plugins COMPONENT bench)
foreach(tool ${tools})
    install(FILES tools/completion/melvane-tools.bash RENAME ${tool}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT bench)
endforeach()
install(FILES tools/completion/_melvane-tools
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT bench)

# The units of the bench, which run what is installed.
file(READ units/hardening.conf hardening)
foreach(unit melvane-bench.target melvane-ppsd.service melvane-ppsfs.service melvane-panel.service melvane-mcusim.service melvane-mculink.service melvane.service)
    configure_file(units/${unit}.in units/${unit} @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/units/${unit} DESTINATION lib/systemd/system COMPONENT bench)
endforeach()
install(FILES units/sysusers.conf RENAME melvane-bench.conf DESTINATION lib/sysusers.d COMPONENT bench)
install(FILES units/tmpfiles.conf RENAME melvane-bench.conf DESTINATION lib/tmpfiles.d COMPONENT bench)

# Programs of others: find_package(melvane) or pkg-config melvane.
set(melvane_include ${CMAKE_INSTALL_INCLUDEDIR}/melvane)
install(DIRECTORY framework DESTINATION ${melvane_include} COMPONENT dev FILES_MATCHING PATTERN "*.h"
    REGEX "framework/(InstanceGuard|Multiplexer|Reopener)\\.h$" EXCLUDE)
install(DIRECTORY platform/posix DESTINATION ${melvane_include}/platform COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(DIRECTORY platform/include/ DESTINATION ${melvane_include} COMPONENT dev FILES_MATCHING PATTERN "*.h")
target_include_directories(TLGPublicLib INTERFACE $<INSTALL_INTERFACE:${melvane_include}>)
install(TARGETS platform EXPORT melvane)
install(EXPORT melvane FILE melvane-config.cmake NAMESPACE melvane::
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/melvane COMPONENT dev)
include(CMakePackageConfigHelpers)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/melvane-config-version.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/melvane-config-version.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/melvane COMPONENT dev)
configure_file(cmake/melvane.pc.in melvane.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/melvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
