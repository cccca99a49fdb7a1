# What is installed where. The programs look for their scripts and help texts below /usr/bin, so a prefix other
# than /usr serves only to look at the result.
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
  set(CMAKE_INSTALL_PREFIX /usr CACHE PATH "where the product is installed" FORCE)
endif()
include(GNUInstallDirs)
include(cmake/install_folders.cmake)

install(TARGETS dravik dravik-monitor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Scripts can be run by hand as well as by the programs; what they share is only read.
file(GLOB scripts CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/scripts/*.sh)
install(PROGRAMS ${scripts} DESTINATION ${SCRIPT_FOLDER})
install(DIRECTORY scripts/lib DESTINATION ${SCRIPT_FOLDER}
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
  FILES_MATCHING PATTERN "*.sh" PATTERN "*.awk")
# Help texts and manual pages are installed with the version in the place of @PROJECT_VERSION@.
file(GLOB texts CONFIGURE_DEPENDS RELATIVE ${CMAKE_SOURCE_DIR}
  ${CMAKE_SOURCE_DIR}/help/*.help ${CMAKE_SOURCE_DIR}/man/*.[58])
foreach(text ${texts})
  configure_file(${text} ${CMAKE_BINARY_DIR}/${text} @ONLY)
  set(place ${HELP_FOLDER})
  if(text MATCHES "\\.([58])$")
    set(place ${CMAKE_INSTALL_MANDIR}/man${CMAKE_MATCH_1})
  endif()
  install(FILES ${CMAKE_BINARY_DIR}/${text} DESTINATION ${place})
endforeach()
# What the JSON of the commands looks like, for those who read it by program.
file(GLOB schemas CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/schema/*.schema.json)
install(FILES ${schemas} DESTINATION ${SCHEMA_FOLDER})
install(FILES completion/dravik.bash DESTINATION ${COMPLETION_FOLDER} RENAME dravik)
# What a monitoring system takes in: rules, dashboard, examples of configuration.
file(GLOB monitoring CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/monitoring/*)
install(FILES ${monitoring} DESTINATION ${MONITORING_FOLDER})
install(FILES systemd/dravik-monitor.service systemd/dravik-metrics.service systemd/dravik-metrics.timer
  DESTINATION ${UNIT_FOLDER})
# What `journalctl -x` shows below the entries of the monitor.
install(FILES systemd/dravik.catalog DESTINATION ${CATALOG_FOLDER})
# Always there: systemd passes over it in favour of the unit of the same name.
install(PROGRAMS packaging/dravik-monitor.init DESTINATION ${INIT_FOLDER} RENAME dravik-monitor)
install(FILES README.md docs/operator-guide.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
finish_folders()
