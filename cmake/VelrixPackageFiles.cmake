# SPDX-License-Identifier: Apache-2.0
# Run by CPack over the files of all packages before it packs them: adds the files that Debian requires, compresses the
# manual pages, and sets every file's time to the commit's (SOURCE_DATE_EPOCH), for reproducible packages.

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  # CPack names the folder of a component after it.
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component})
  set(doc ${root}/usr/share/doc/${package})
  if(NOT IS_DIRECTORY ${root}/usr)
    message(FATAL_ERROR "${root}/usr is missing: where are the files of component ${component}?")
  endif()
  file(MAKE_DIRECTORY ${doc})
  file(COPY ${CPACK_VELRIX_PACKAGING}/copyright ${CPACK_VELRIX_PACKAGING}/changelog DESTINATION ${doc}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  set(overrides ${CPACK_VELRIX_PACKAGING}/${package}/lintian-overrides)
  if(EXISTS ${overrides})
    file(MAKE_DIRECTORY ${root}/usr/share/lintian/overrides)
    file(COPY_FILE ${overrides} ${root}/usr/share/lintian/overrides/${package})
  endif()
  file(GLOB pages ${root}/usr/share/man/man*/*.?)
  # -n: no file name and time in the compressed file.
  execute_process(COMMAND gzip -9n ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
  if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND find ${root} -exec touch -h -d @$ENV{SOURCE_DATE_EPOCH} {} + COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
