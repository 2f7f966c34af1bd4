orvane_test(net_test
  SOURCES HttpExchangeTest.cpp ResponseReadingTest.cpp HttpResponseTest.cpp SocketTest.cpp
          UrlTest.cpp JsonTest.cpp EscaperTest.cpp SystemCallFaults.cpp
  LIBS pellion_core)
