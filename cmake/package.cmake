# The .deb and the .rpm.
set(CPACK_GENERATOR DEB RPM)
set(CPACK_PACKAGE_NAME dravik)
set(CPACK_PACKAGE_VENDOR Korvel)
set(CPACK_PACKAGE_CONTACT "Korvel <support@korvel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DESCRIPTION
  "The path monitor reports every change of the paths to the array's volumes; the administration tool shows and changes them.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${FOLDER_PERMISSIONS})
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/package_folders.cmake)

# The packages' scripts: each is one file, so the functions they share are put into each.
file(READ packaging/service.sh DRAVIK_SERVICE_FUNCTIONS)
string(REPLACE "# shellcheck shell=sh\n" "" DRAVIK_SERVICE_FUNCTIONS "${DRAVIK_SERVICE_FUNCTIONS}")
set(scripts ${CMAKE_BINARY_DIR}/packaging)
foreach(script postinst prerm postrm)
  configure_file(packaging/deb-${script}.in ${scripts}/${script} @ONLY FILE_PERMISSIONS ${FOLDER_PERMISSIONS})
endforeach()
foreach(script post preun)
  configure_file(packaging/rpm-${script}.in ${scripts}/${script} @ONLY)
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/service.sh)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "bash, coreutils, grep, sed, mawk | gawk, util-linux")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${scripts}/postinst ${scripts}/prerm ${scripts}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_LICENSE Proprietary)
set(CPACK_RPM_PACKAGE_GROUP "System Environment/Daemons")
set(CPACK_RPM_PACKAGE_REQUIRES "bash, coreutils, grep, sed, gawk, util-linux")
set(CPACK_RPM_POST_INSTALL_SCRIPT_FILE ${scripts}/post)
set(CPACK_RPM_PRE_UNINSTALL_SCRIPT_FILE ${scripts}/preun)
# No links below /usr/lib/.build-id: they would be owned beside the programs they name.
set(CPACK_RPM_SPEC_MORE_DEFINE "%define _build_id_links none")
# Folders of the distribution are not ours.
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /etc /etc/init.d /usr/lib/systemd /usr/lib/systemd/catalog /usr/lib/systemd/system /usr/share/man /usr/share/man/man5
  /usr/share/man/man8 /usr/share/doc /usr/share/bash-completion /usr/share/bash-completion/completions)

include(CPack)
