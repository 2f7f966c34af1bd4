orvane_test(session_test
  SOURCES FileTest.cpp PellionAppTest.cpp PlugInTest.cpp
  LIBS pellion_core)
