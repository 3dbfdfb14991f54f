# Third-party code comes from Debian's packages; nothing of it is committed.

# GoogleTest ships as source in /usr/src/googletest and builds for both targets.
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

# rapidjson and rapidxml are header-only. The mingw build must not see /usr/include (glibc
# headers), so both folders are linked into a private include root.
set(TARN_THIRDPARTY_INCLUDE ${CMAKE_BINARY_DIR}/thirdparty-include)
file(MAKE_DIRECTORY ${TARN_THIRDPARTY_INCLUDE})
foreach(dir rapidjson rapidxml)
  if(NOT EXISTS /usr/include/${dir})
    message(FATAL_ERROR "/usr/include/${dir} is missing: run scripts/setup.sh")
  endif()
  file(CREATE_LINK /usr/include/${dir} ${TARN_THIRDPARTY_INCLUDE}/${dir} SYMBOLIC)
endforeach()
add_library(tarn_thirdparty_headers INTERFACE)
target_include_directories(tarn_thirdparty_headers SYSTEM INTERFACE ${TARN_THIRDPARTY_INCLUDE})
# The JSON library's assertions stay on; they end the process on a shape the code asserts on.
target_compile_definitions(tarn_thirdparty_headers INTERFACE RAPIDJSON_HAS_STDSTRING=1)

# tinyxml2: Debian has no mingw build, so its source package is compiled here (scripts/setup.sh
# fetches it into build/deps).
file(GLOB TARN_TINYXML2_SOURCE ${CMAKE_SOURCE_DIR}/build/deps/tinyxml2-*/tinyxml2.cpp)
if(NOT TARN_TINYXML2_SOURCE)
  message(FATAL_ERROR "tinyxml2 source is missing: run scripts/setup.sh")
endif()
list(GET TARN_TINYXML2_SOURCE 0 TARN_TINYXML2_SOURCE)
get_filename_component(TARN_TINYXML2_DIR ${TARN_TINYXML2_SOURCE} DIRECTORY)
add_library(tinyxml2 STATIC ${TARN_TINYXML2_SOURCE})
target_include_directories(tinyxml2 SYSTEM PUBLIC ${TARN_TINYXML2_DIR})
