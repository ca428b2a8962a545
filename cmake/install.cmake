# The files that `cmake --install` installs, and the package that CPack makes of them.
include(GNUInstallDirs)
set(BANKIMG_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Directory for the zsh completion, below the prefix")

install(TARGETS ${programs} RUNTIME)
install(FILES doc/_bankimg DESTINATION ${BANKIMG_ZSH_COMPLETIONS})
foreach(program IN LISTS programs)  # bash looks for a file of the program's name
  install(FILES doc/bankimg.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${program})
endforeach()

# The README and what it links to.
install(FILES README.md CONTRIBUTING.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY doc DESTINATION ${CMAKE_INSTALL_DOCDIR}
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
install(FILES bench/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/bench)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} USE_SOURCE_PERMISSIONS)

# A Debian package has its manual pages and its changelog compressed.
option(BANKIMG_DEBIAN "Install what a Debian package needs" OFF)
function(install_compressed file directory)
  get_filename_component(name ${file} NAME)
  add_custom_command(OUTPUT ${name}.gz
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${file} > ${name}.gz
    DEPENDS ${PROJECT_SOURCE_DIR}/${file}
    VERBATIM)
  add_custom_target(compress_${name} ALL DEPENDS ${name}.gz)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.gz DESTINATION ${directory})
endfunction()
if(BANKIMG_DEBIAN)
  foreach(program IN LISTS programs)
    install_compressed(doc/${program}.1 ${CMAKE_INSTALL_MANDIR}/man1)
  endforeach()
  install_compressed(packaging/changelog ${CMAKE_INSTALL_DOCDIR})
  install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
  install(FILES packaging/lintian-overrides
    DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME bankimg)
else()
  foreach(program IN LISTS programs)
    install(FILES doc/${program}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  endforeach()
endif()

set(CPACK_PACKAGE_NAME bankimg)
set(CPACK_PACKAGE_VENDOR "the bankimg authors")
set(CPACK_PACKAGE_CONTACT "the bankimg authors <authors@bankimg.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "split the sections of an ELF executable into memory-bank images")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "\
bankimg takes one 32-bit little-endian ELF executable and splits the
bytes of its loadable sections into memory-bank image files, one for
each bank of the target's memory map: text of four 32-bit words a line,
with the line's address as a comment. RTL simulations load them with
$readmemh; ROM generators read them unchanged.")
if(NOT BANKIMG_STATIC)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
# No source package from here: only git knows what belongs in it, and script/package asks git.
file(REMOVE ${CPACK_SOURCE_OUTPUT_CONFIG_FILE})
