orvane_test(plugin_test
  SOURCES PluginTest.cpp PluginMethodsTest.cpp PluginLifeTest.cpp
  LIBS npapi_common fake_browser
  TIMEOUT 120)

orvane_test(picture_test
  SOURCES PictureTest.cpp
  LIBS npapi_common fake_browser test_display
  LABELS display
  NEEDS test_socket_window)
target_compile_definitions(picture_test PRIVATE SOCKET_WINDOW="$<TARGET_FILE:test_socket_window>")
