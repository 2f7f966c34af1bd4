orvane_test(page_dialog_test
  SOURCES PageDialogTest.cpp
  LIBS npapi_common fake_browser test_display
  LABELS display)
