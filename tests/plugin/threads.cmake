orvane_test(threads_test
  SOURCES WorkerTest.cpp RequestWorkerTest.cpp RunnableSchedulerTest.cpp TransfersPollerTest.cpp
          FailingMemory.cpp
  LIBS pellion_core PkgConfig::GLIB
  TIMEOUT 120)
