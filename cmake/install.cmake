# What is installed where. The programs look for their scripts and help texts below /usr/bin, so a prefix other
# than /usr serves only to look at the result.
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
  set(CMAKE_INSTALL_PREFIX /usr CACHE PATH "where the product is installed" FORCE)
endif()
include(GNUInstallDirs)

install(TARGETS dravik dravik-monitor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Scripts can be run by hand as well as by the programs; what they share is only read.
file(GLOB scripts CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/scripts/*.sh)
install(PROGRAMS ${scripts} DESTINATION ${CMAKE_INSTALL_BINDIR}/dravik-script)
install(DIRECTORY scripts/lib DESTINATION ${CMAKE_INSTALL_BINDIR}/dravik-script
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
  FILES_MATCHING PATTERN "*.sh" PATTERN "*.awk")
install(DIRECTORY help/ DESTINATION ${CMAKE_INSTALL_BINDIR}/dravik-help FILES_MATCHING PATTERN "*.help")
foreach(section 5 8)
  file(GLOB pages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/man/*.${section})
  install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()
install(FILES completion/dravik.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME dravik)
install(FILES systemd/dravik-monitor.service DESTINATION lib/systemd/system)
# Always there: systemd passes over it in favour of the unit of the same name.
install(PROGRAMS packaging/dravik-monitor.init DESTINATION /etc/init.d RENAME dravik-monitor)
install(FILES README.md docs/operator-guide.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
