orvane_test(view_test
  SOURCES DropViewTest.cpp
  LIBS npapi_common test_display
  LABELS display
  NEEDS test_socket_window test_drag_source)
target_compile_definitions(view_test PRIVATE
  SOCKET_WINDOW="$<TARGET_FILE:test_socket_window>"
  DRAG_SOURCE="$<TARGET_FILE:test_drag_source>")
