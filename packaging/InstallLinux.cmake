# The executable and the files that it reads beside itself share a folder; bin/ has a link to it.
set(private_dir "${CMAKE_INSTALL_LIBDIR}/fourfold")
install(TARGETS fourfold RUNTIME DESTINATION "${private_dir}")
install(FILES "${FOURFOLD_BIN_DIR}/settings.dat" "${FOURFOLD_BIN_DIR}/skin.rcc" DESTINATION "${private_dir}")
install(FILES icon/app.ico DESTINATION "${private_dir}/icon")

file(RELATIVE_PATH link_target "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}/fourfold/fourfold")
file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/link")
file(CREATE_LINK "${link_target}" "${CMAKE_CURRENT_BINARY_DIR}/link/fourfold" SYMBOLIC)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/link/fourfold" DESTINATION "${CMAKE_INSTALL_BINDIR}")

# The heading of a release in CHANGELOG.md is the one place for its date.
set(changelog "${PROJECT_SOURCE_DIR}/CHANGELOG.md")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${changelog}")
file(STRINGS "${changelog}" heading REGEX "^## ${PROJECT_VERSION} ")
if(NOT heading MATCHES "[(]([0-9]+-[0-9]+-[0-9]+)[)]")
    message(FATAL_ERROR "CHANGELOG.md has no heading \"## ${PROJECT_VERSION} (YEAR-MONTH-DAY)\".")
endif()
set(release_date "${CMAKE_MATCH_1}")
execute_process(COMMAND date --utc --rfc-email --date "${release_date}"
    OUTPUT_VARIABLE release_time OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

foreach(file fourfold.desktop example.fourfold.VideoDownloader.metainfo.xml fourfold.1 changelog.Debian copyright)
    configure_file(${file}.in ${file} @ONLY)
endforeach()

# Debian wants these compressed, and the same input to give the same bytes.
foreach(file "${CMAKE_CURRENT_BINARY_DIR}/fourfold.1" "${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian" "${changelog}")
    get_filename_component(name "${file}" NAME)
    execute_process(COMMAND gzip -9 --no-name --stdout "${file}"
        OUTPUT_FILE "${CMAKE_CURRENT_BINARY_DIR}/${name}.gz" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/fourfold.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/example.fourfold.VideoDownloader.metainfo.xml"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/fourfold.1.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/copyright" "${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian.gz"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/CHANGELOG.md.gz"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" RENAME changelog.gz)
install(DIRECTORY icon/hicolor DESTINATION "${CMAKE_INSTALL_DATADIR}/icons")

if(PROJECT_IS_TOP_LEVEL)
    set(CPACK_GENERATOR DEB)
    set(CPACK_PACKAGE_NAME fourfold)
    set(CPACK_PACKAGE_VENDOR "${FOURFOLD_COMPANY_NAME}")
    set(CPACK_PACKAGE_CONTACT "${FOURFOLD_COMPANY_NAME} <${FOURFOLD_SUPPORT_EMAIL}>")
    set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "download videos in four byte ranges at once")
    set(CPACK_PACKAGE_DESCRIPTION "Paste the address of a video or of a playlist, choose a format, and four byte
ranges land at once in the right places of one file.")
    set(CPACK_PACKAGE_HOMEPAGE_URL "${FOURFOLD_PRODUCT_URL}")
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
    set(CPACK_STRIP_FILES ON)
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
    set(CPACK_DEBIAN_PACKAGE_SECTION net)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    # What Qt loads at run time: secure connections need a list of authorities, folders open through xdg-open.
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ca-certificates, xdg-utils")
    set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qt5-gtk-platformtheme, qtwayland5")
    include(CPack)
endif()
