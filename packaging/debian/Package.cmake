# The Debian package, as cpack makes it of the installed files.  ./dev package runs it.
install(
  FILES debian/lintian-overrides
  DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides"
  RENAME quorin-stream)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorin-stream)
set(CPACK_PACKAGE_VENDOR "Quorin Stream maintainers")
set(CPACK_PACKAGE_CONTACT "Quorin Stream maintainers <maintainers@quorin.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://quorin.example/stream")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "computer's sound on a phone, in real time")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Streams what the computer plays to phones: over Wi-Fi to up to ten of them,
paired by a QR code, or over the charging cable. A guard screen leads to the
right sound devices and waits until they are set.

quorin-device makes the virtual sound device that the stream is taken from,
quorin-listen receives a stream on another computer and measures it, and
quorin-panel shows a server with live statistics.")

# The libraries a program is linked to are found by dpkg-shlibdeps. What it talks to at run time
# is not: a sound server, the font of some symbols, the USB service, Wayland, real-time priority.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "pipewire-pulse | pulseaudio, fonts-noto-color-emoji, qt6-wayland, rtkit, usbmuxd")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "pavucontrol")

set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
