# The Debian package: `cpack -G DEB` in a release build tree (scripts/package does both).
# Installs under /usr. The libraries the executables link are found by dpkg-shlibdeps; what
# they only load or run at run time is listed by hand below.
set(CPACK_PACKAGE_NAME fennic)
set(CPACK_PACKAGE_VENDOR "The Fennic developers")
set(CPACK_PACKAGE_CONTACT "The Fennic developers <fennic@users.noreply.github.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "find your files by asking in plain English")
set(CPACK_PACKAGE_HOMEPAGE_URL ${FENNIC_HOMEPAGE_URL})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
# The description quotes a request; without this its quotes would end the string in CPack's
# own configuration file.
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Fennic gathers the files of your everyday folders into one quiet library that never
leaves your machine. Ask for files in plain English (\"pdfs from last week over 5 MB\"),
describe a picture, or search for words written inside images. It keeps folders in order
too: favourites, tags and collections, clean-up of forgotten downloads and old installers,
identical files and look-alike photos, and every removal is a move to the Trash that one
Undo puts back.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded or run at run time, so invisible to dpkg-shlibdeps:
# - Qt's platform plugins (the window needs xcb or wayland), its SVG icon engine (the icon and
#   the icon theme) and image-format plugins (WebP, TIFF, … thumbnails), and MIME data;
# - Tesseract for the words in pictures, with its English data, loaded when indexing starts.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qt6-qpa-plugins, libqt6svg6, qt6-image-formats-plugins, shared-mime-info, libtesseract5, tesseract-ocr-eng")
# Fennic runs without these, with less: video thumbnails, the Trash sound and the icon theme
# the window is drawn for. (Debian's triggers refresh the menu and icon caches on install.)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "ffmpegthumbnailer, libcanberra0, adwaita-icon-theme")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS
    "tesseract-ocr-spa, tesseract-ocr-chi-sim, tesseract-ocr-chi-tra, tesseract-ocr-jpn, tesseract-ocr-kor, tesseract-ocr-hin")

include(CPack)
