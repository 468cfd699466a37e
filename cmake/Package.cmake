# What `cmake --install` puts beside the two programs, and the Debian package that CPack makes of
# it all (scripts/package): the desktop entry under its reverse-domain id, the AppStream metadata,
# the manual pages and the package's own documents. The icons are installed where they are drawn
# (ui/).
include(GNUInstallDirs)

set(lvx_app_id example.harrowmere.Lunavex)
set(lvx_package_dir ${PROJECT_BINARY_DIR}/package)
set(lvx_doc_dir ${CMAKE_INSTALL_DATADIR}/doc/lunavex)

# The texts that carry the version, configured at every configure, and their compressed forms as
# Debian wants manual pages and the change log: gzip -9 -n, without a time stamp.
configure_file(${PROJECT_SOURCE_DIR}/resources/${lvx_app_id}.metainfo.xml.in
               ${lvx_package_dir}/${lvx_app_id}.metainfo.xml @ONLY)
set(lvx_compressed)
foreach(text man/lunavex.1 man/lunavex-batch.1 debian/changelog)
  get_filename_component(name ${text} NAME)
  configure_file(${PROJECT_SOURCE_DIR}/resources/${text}.in ${lvx_package_dir}/${name} @ONLY)
  add_custom_command(
    OUTPUT ${lvx_package_dir}/${name}.gz
    COMMAND gzip -9 -n -k -f ${name}
    WORKING_DIRECTORY ${lvx_package_dir}
    VERBATIM
    DEPENDS ${lvx_package_dir}/${name}
    COMMENT "Compressing ${name}")
  list(APPEND lvx_compressed ${lvx_package_dir}/${name}.gz)
endforeach()
add_custom_target(lvx_package_texts ALL DEPENDS ${lvx_compressed})

install(FILES ${PROJECT_SOURCE_DIR}/resources/${lvx_app_id}.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${lvx_package_dir}/${lvx_app_id}.metainfo.xml
        DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${lvx_package_dir}/lunavex.1.gz ${lvx_package_dir}/lunavex-batch.1.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${lvx_package_dir}/changelog.gz ${PROJECT_SOURCE_DIR}/resources/debian/copyright
        DESTINATION ${lvx_doc_dir})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lunavex)
set(CPACK_PACKAGE_VENDOR Harrowmere)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Harrowmere <lunavex@harrowmere.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "shrink images, round their corners and fade their edges, in a batch")
# Debian wants the lines of the long description within 80 columns.
string(CONCAT CPACK_PACKAGE_DESCRIPTION
  "Lunavex converts the image files dropped on its window, or given on its\n"
  "command line: it shrinks each image to fit a chosen size, rounds the chosen\n"
  "corners to a radius, fades the chosen edges into transparency, lays the\n"
  "result over a background colour or keeps it transparent, and writes PNG or\n"
  "JPEG into a sub-folder beside the source. Two preview panes show the effect\n"
  "of every setting. JPEG, PNG, GIF, TIFF, WebP, BMP, HEIC and AVIF files are\n"
  "read. The command lunavex-batch converts the same way without a window.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://harrowmere.example/lunavex/)
# The libraries come from the programs themselves; the desktop's helpers that the program starts
# (gdbus to show a folder, xdg-open to open one and the home page) are no link of theirs.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libglib2.0-bin, xdg-utils")
# Japanese needs a font that has it; Qt's own dialogs (the colour chooser) speak Japanese with
# Qt's translations.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-noto-cjk | fonts-ipafont-gothic, qt6-translations-l10n")
include(CPack)
