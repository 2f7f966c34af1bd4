# Settings and helpers that every room shares.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Assertions are part of the behaviour: no build type defines NDEBUG.
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_FLAGS_RELEASE "-O2 -g1")
  set(CMAKE_${language}_FLAGS_RELWITHDEBINFO "-O2 -g")
  set(CMAKE_${language}_FLAGS_MINSIZEREL "-Os")
endforeach()
if(ORVANE_SANITIZE)
  set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1")
endif()

add_compile_options(-Wall -Wextra -Wshadow -Wformat=2 -Wundef -Werror
                    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
                    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(-fstack-protector-strong -D_FORTIFY_SOURCE=2)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
if(ORVANE_SANITIZE)
  # With the checks in between, g++ 12 takes parts of a std::variant for uninitialised.
  add_compile_options(-fsanitize=${ORVANE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all
                      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_link_options(-fsanitize=${ORVANE_SANITIZE})
endif()
if(ORVANE_COVERAGE)
  # Threads count at once.
  add_compile_options(--coverage -fprofile-update=atomic -fprofile-abs-path)
  add_link_options(--coverage)
endif()
if(ORVANE_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Every room includes by the path from the top of the house: "ovlib/ovlog.h".
include_directories(${PROJECT_SOURCE_DIR})

# Keeps the project's warnings out of other people's headers.
function(orvane_system_headers)
  foreach(target IN LISTS ARGN)
    get_target_property(dirs ${target} INTERFACE_INCLUDE_DIRECTORIES)
    if(dirs)
      set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${dirs}")
    endif()
  endforeach()
endfunction()

# Puts what the target uses of the C++ library into its file: to find, map and bind that library takes a page's
# host a fifth of its start. Only for files that exchange nothing but C. The unwinder stays a library, so that
# exceptions from elsewhere are still caught.
function(orvane_link_cxx_library_in target)
  if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT ORVANE_SANITIZE)
    target_link_options(${target} PRIVATE -static-libstdc++ -Wl,--gc-sections)
  endif()
endfunction()

# orvane_test(NAME SOURCES a.cpp b.cpp [LIBS x y] [LABELS l] [ENVIRONMENT A=b ...] [TIMEOUT s]
#             [SERIAL] [RESOURCE_LOCK name] [NEEDS target ...])
# One test program; each of its cases becomes a ctest entry of its own. NEEDS names programs that
# the cases start. LABELS is one word: the discovery of cases would lose all properties after a
# second. A failing case prints its output; a case may not run longer than TIMEOUT seconds.
function(orvane_test name)
  cmake_parse_arguments(ARG "SERIAL" "LABELS;TIMEOUT;RESOURCE_LOCK" "SOURCES;LIBS;ENVIRONMENT;NEEDS" ${ARGN})
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${name}: what is ${ARG_UNPARSED_ARGUMENTS}?")
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} test_support GTest::gtest GTest::gmock test_main)
  if(ARG_NEEDS)
    add_dependencies(${name} ${ARG_NEEDS})
  endif()
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  set(properties TIMEOUT ${ARG_TIMEOUT})
  if(ARG_LABELS)
    list(APPEND properties LABELS "${ARG_LABELS}")
  endif()
  if(ARG_ENVIRONMENT)
    list(APPEND properties ENVIRONMENT "${ARG_ENVIRONMENT}")
  endif()
  if(ARG_RESOURCE_LOCK)
    list(APPEND properties RESOURCE_LOCK ${ARG_RESOURCE_LOCK})
  endif()
  if(ARG_SERIAL)
    list(APPEND properties RUN_SERIAL TRUE)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
                       PROPERTIES ${properties})
endfunction()
