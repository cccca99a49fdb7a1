# Run when a package's content lies ready to be packed: every folder of it is 0755, whatever the umask of whoever packs.
# CMake makes the prefix itself before it installs anything.
file(GLOB_RECURSE entries LIST_DIRECTORIES true "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
foreach(entry ${entries})
  if(IS_DIRECTORY "${entry}")
    file(CHMOD "${entry}" PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
  endif()
endforeach()
