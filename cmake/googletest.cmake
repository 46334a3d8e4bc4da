# GoogleTest from the sources of Debian's package googletest: a cross-build has no compiled one to find.
find_path(googletest_source src/gtest-all.cc
  PATHS /usr/src/googletest/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
add_library(gtest_main STATIC ${googletest_source}/src/gtest-all.cc ${googletest_source}/src/gtest_main.cc)
target_include_directories(gtest_main SYSTEM PUBLIC ${googletest_source}/include PRIVATE ${googletest_source})
target_link_libraries(gtest_main PUBLIC Threads::Threads)
add_library(GTest::gtest_main ALIAS gtest_main)
add_library(GTest::gtest ALIAS gtest_main)
