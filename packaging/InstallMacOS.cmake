# Not exercised: lays out Fourfold.app, to be completed by macdeployqt; the program finds its files beside itself.
set(bundle "Fourfold.app/Contents")
configure_file(macos/Info.plist.in Info.plist @ONLY)
install(TARGETS fourfold RUNTIME DESTINATION "${bundle}/MacOS")
install(FILES "${FOURFOLD_BIN_DIR}/settings.dat" "${FOURFOLD_BIN_DIR}/skin.rcc" DESTINATION "${bundle}/MacOS")
install(FILES icon/app.ico DESTINATION "${bundle}/MacOS/icon")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/Info.plist" DESTINATION "${bundle}")

# iconutil wants the sizes of hicolor/ under names of its own.
set(iconset "${CMAKE_CURRENT_BINARY_DIR}/fourfold.iconset")
foreach(pair 16:16x16 32:16x16@2x 32:32x32 128:128x128 256:128x128@2x 256:256x256 512:256x256@2x 512:512x512)
    string(REGEX REPLACE ":.*" "" size "${pair}")
    string(REGEX REPLACE ".*:" "" name "${pair}")
    configure_file("icon/hicolor/${size}x${size}/apps/fourfold.png" "${iconset}/icon_${name}.png" COPYONLY)
endforeach()
add_custom_command(
    OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/fourfold.icns"
    COMMAND iconutil --convert icns --output "${CMAKE_CURRENT_BINARY_DIR}/fourfold.icns" "${iconset}"
    VERBATIM)
add_custom_target(fourfold_icns ALL DEPENDS "${CMAKE_CURRENT_BINARY_DIR}/fourfold.icns")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/fourfold.icns" DESTINATION "${bundle}/Resources")
