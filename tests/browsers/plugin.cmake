orvane_test(plugin_test
  SOURCES PluginTest.cpp PluginMethodsTest.cpp PluginLifeTest.cpp ScriptObjectTest.cpp
          BrowserFaultsTest.cpp GrantsTest.cpp
  LIBS npapi_common fake_browser
  TIMEOUT 120)
