orvane_test(net_test
  SOURCES HttpTest.cpp SocketTest.cpp TextsTest.cpp
  LIBS pellion_core)
