# The settings that every target of the project shares, and the two functions
# through which libraries and programs are made.

add_library(kelvarune_options INTERFACE)
target_compile_definitions(kelvarune_options INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII
                                                       QT_NO_KEYWORDS)
target_compile_options(
  kelvarune_options
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
            -Wnon-virtual-dtor
            -Woverloaded-virtual
            -Wcast-qual
            $<$<BOOL:${KELVARUNE_WERROR}>:-Werror>)

if(KELVARUNE_SANITIZE)
  target_compile_options(kelvarune_options INTERFACE -fsanitize=${KELVARUNE_SANITIZE}
                                                     -fno-omit-frame-pointer)
  target_link_options(kelvarune_options INTERFACE -fsanitize=${KELVARUNE_SANITIZE})
  if(KELVARUNE_SANITIZE MATCHES "undefined")
    target_compile_options(kelvarune_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
endif()

# kelvarune_library(NAME SOURCES file... [LINK target...]): one static library of a folder below
# src/, known to others as kelvarune::NAME and included by paths relative to src/. Its code may go
# into shared objects, such as plug-ins.
function(kelvarune_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
  add_library(kelvarune_${name} STATIC ${arg_SOURCES})
  add_library(kelvarune::${name} ALIAS kelvarune_${name})
  set_target_properties(kelvarune_${name} PROPERTIES OUTPUT_NAME kelvarune_${name}
                                                       EXPORT_NAME ${name}
                                                       POSITION_INDEPENDENT_CODE ON)
  target_include_directories(
    kelvarune_${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
                             $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kelvarune>)
  target_link_libraries(kelvarune_${name} PUBLIC ${arg_LINK}
                                          PRIVATE $<BUILD_INTERFACE:kelvarune_options>)
  target_compile_features(kelvarune_${name} PUBLIC cxx_std_17)
endfunction()

# kelvarune_test(NAME SOURCES file... [LINK target...]): one GoogleTest program whose cases CTest
# lists one by one.
function(kelvarune_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name} PRIVATE ${arg_LINK} Qt5::Core Qt5::Xml GTest::gtest GTest::gmock GTest::gtest_main
                                        kelvarune_options)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
