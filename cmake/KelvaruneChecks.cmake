# Targets that look at the code: `format` rewrites it in the project's style, `tidy` runs clang-tidy
# over every source file that has changed since it last passed.

find_program(CLANG_FORMAT clang-format)
find_program(CLANG_TIDY clang-tidy)

file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.h ${PROJECT_SOURCE_DIR}/tools/*.h)
file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp ${PROJECT_SOURCE_DIR}/tools/*.cpp)
file(GLOB_RECURSE others CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/*.h ${PROJECT_SOURCE_DIR}/tests/*.cpp
     ${PROJECT_SOURCE_DIR}/bench/*.cpp ${PROJECT_SOURCE_DIR}/examples/*.cpp)

if(CLANG_FORMAT)
  add_custom_target(format COMMAND ${CLANG_FORMAT} -i ${headers} ${sources} ${others})
endif()

if(CLANG_TIDY)
  set(stamps "")
  foreach(source IN LISTS sources)
    file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${source})
    set(stamp ${CMAKE_BINARY_DIR}/tidy/${name}.passed)
    get_filename_component(stamp_directory ${stamp} DIRECTORY)
    file(MAKE_DIRECTORY ${stamp_directory})
    add_custom_command(
      OUTPUT ${stamp}
      COMMAND ${CLANG_TIDY} --quiet --extra-arg=-Wno-unknown-warning-option -p
              ${CMAKE_BINARY_DIR} ${source}
      COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
      DEPENDS ${source} ${headers} ${PROJECT_SOURCE_DIR}/.clang-tidy
      COMMENT "clang-tidy ${name}"
      VERBATIM)
    list(APPEND stamps ${stamp})
  endforeach()
  add_custom_target(tidy DEPENDS ${stamps})
endif()
