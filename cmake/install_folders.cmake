# The folders of an installation: 0755 whatever the umask, because root runs what lies in them, and everybody may. Files
# have their modes from install(); folders that CMake makes on the way depend on the umask.
set(SCRIPT_FOLDER ${CMAKE_INSTALL_BINDIR}/dravik-script)
set(HELP_FOLDER ${CMAKE_INSTALL_BINDIR}/dravik-help)
set(SCHEMA_FOLDER ${CMAKE_INSTALL_DATADIR}/dravik/schema)
set(MONITORING_FOLDER ${CMAKE_INSTALL_DATADIR}/dravik/monitoring)
set(COMPLETION_FOLDER ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
set(UNIT_FOLDER lib/systemd/system)
set(CATALOG_FOLDER lib/systemd/catalog)
set(INIT_FOLDER /etc/init.d)
# The product's own, which have that mode also where an earlier installation left them open to others.
set(OWN_FOLDERS ${SCRIPT_FOLDER} ${HELP_FOLDER} ${CMAKE_INSTALL_DATADIR}/dravik ${SCHEMA_FOLDER} ${MONITORING_FOLDER}
  ${CMAKE_INSTALL_DOCDIR})
# Every other folder is the host's and stays as it is, unless it has to be made.
set(ALL_FOLDERS ${OWN_FOLDERS} ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_MANDIR}/man5 ${CMAKE_INSTALL_MANDIR}/man8
  ${COMPLETION_FOLDER} ${UNIT_FOLDER} ${CATALOG_FOLDER} ${INIT_FOLDER})

set(FOLDER_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# With a wide umask a folder must not be open for one moment: it is made with its mode.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${FOLDER_PERMISSIONS})

# A narrow umask takes from that. What has to be made is noted here, before anything is installed ...
install(CODE "
  set(all_folders \"${ALL_FOLDERS}\")
  set(own_folders \"${OWN_FOLDERS}\")
  set(folder_permissions \"${FOLDER_PERMISSIONS}\")")
install(CODE [[
  # The place of a folder in this installation.
  macro(place_of folder out)
    cmake_path(APPEND CMAKE_INSTALL_PREFIX ${folder} OUTPUT_VARIABLE ${out})
    get_filename_component(${out} "$ENV{DESTDIR}${${out}}" ABSOLUTE)
  endmacro()

  set(made_folders)
  foreach(folder ${all_folders})
    place_of(${folder} place)
    while(NOT EXISTS "${place}")
      list(APPEND made_folders "${place}")
      get_filename_component(place "${place}" DIRECTORY)
    endwhile()
  endforeach()]])

# ... and has its mode set when everything is there.
macro(finish_folders)
  install(CODE [[
  foreach(folder ${own_folders})
    place_of(${folder} place)
    list(APPEND made_folders "${place}")
  endforeach()
  list(REMOVE_DUPLICATES made_folders)
  foreach(place ${made_folders})
    file(CHMOD "${place}" PERMISSIONS ${folder_permissions})
  endforeach()]])
endmacro()
