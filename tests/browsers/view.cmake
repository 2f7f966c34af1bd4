orvane_test(view_test
  SOURCES ViewTest.cpp
  LIBS npapi_common fake_browser test_display
  LABELS display
  ENVIRONMENT G_DEBUG=fatal-criticals
  NEEDS test_socket_window test_drag_source)
target_compile_definitions(view_test PRIVATE
  SOCKET_WINDOW="$<TARGET_FILE:test_socket_window>"
  DRAG_SOURCE="$<TARGET_FILE:test_drag_source>")
