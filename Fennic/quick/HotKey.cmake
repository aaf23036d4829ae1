# The global Quick Search shortcut: one route per way a desktop lets applications have one.
# The X11 route speaks to the X server directly through xcb.
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb)
target_sources(fennic_ui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/HotKey.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HotKeyKde.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HotKeyPortal.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HotKeyRoute.cpp
  ${CMAKE_CURRENT_LIST_DIR}/HotKeyX11.cpp
)
target_link_libraries(fennic_ui PRIVATE PkgConfig::XCB)
