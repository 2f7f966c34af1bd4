orvane_test(module_test SOURCES ModuleTest.cpp LIBS fake_browser NEEDS nporvaneweb)
target_compile_definitions(module_test PRIVATE ORVANE_MODULE="$<TARGET_FILE:nporvaneweb>")
target_link_libraries(module_test PRIVATE ${CMAKE_DL_LIBS})
