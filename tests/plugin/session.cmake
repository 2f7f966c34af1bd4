orvane_test(session_test
  SOURCES FileTest.cpp PellionAppTest.cpp PlugInTest.cpp FailingMemory.cpp
  LIBS pellion_core)
