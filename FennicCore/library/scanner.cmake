# The folder scanner and its attribute readers.
target_sources(fennic_library PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Scanner.cpp
  ${CMAKE_CURRENT_LIST_DIR}/FileAttributes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CaptureDate.cpp
)
