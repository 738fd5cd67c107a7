# Targets that look at the code: `format` rewrites it in the project's style, `tidy` runs clang-tidy
# over what has changed since it last passed.

find_program(CLANG_FORMAT clang-format)
find_program(CLANG_TIDY clang-tidy)

if(CLANG_FORMAT)
  file(GLOB_RECURSE formatted CONFIGURE_DEPENDS src/*.h src/*.cpp tools/*.h tools/*.cpp tests/*.h
       tests/*.cpp bench/*.cpp examples/*.cpp)
  list(TRANSFORM formatted PREPEND ${PROJECT_SOURCE_DIR}/ REGEX "^[^/]")
  add_custom_target(format COMMAND ${CLANG_FORMAT} -i ${formatted})
endif()

# Most checks walk through everything that a file includes, which takes five times as long as the
# file itself: so all the files of a target are looked at as one, into which they are copied, since
# some checks look at the main file only. What a file includes twice, a file that includes them shows.
function(kelvarune_tidy target)
  get_target_property(directory ${target} SOURCE_DIR)
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "\\.cpp$")
  list(TRANSFORM sources PREPEND ${directory}/)
  set(copied ${PROJECT_BINARY_DIR}/tidy/${target}.cpp)
  set(included ${PROJECT_BINARY_DIR}/tidy/${target}-includes.cpp)
  list(TRANSFORM sources REPLACE "(.+)" "#include \"\\1\"\n" OUTPUT_VARIABLE includes)
  string(CONCAT includes ${includes})
  file(GENERATE OUTPUT ${included} CONTENT "${includes}")

  # Never built: it puts the files, with the target's flags, into compile_commands.json.
  set_source_files_properties(${copied} PROPERTIES GENERATED ON)
  add_library(tidy_${target} OBJECT EXCLUDE_FROM_ALL ${copied} ${included})
  target_link_libraries(tidy_${target} PRIVATE $<TARGET_PROPERTY:${target},LINK_LIBRARIES>)
  target_include_directories(tidy_${target}
                             PRIVATE ${directory} $<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>)
  target_compile_definitions(tidy_${target}
                             PRIVATE $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
  set(tidy ${CLANG_TIDY} --quiet --extra-arg=-Wno-unknown-warning-option -p ${PROJECT_BINARY_DIR}
           --config-file=${PROJECT_SOURCE_DIR}/.clang-tidy)
  add_custom_command(
    OUTPUT ${copied}.passed
    COMMAND sh -c "for file; do echo \"// $file\" && cat \"$file\"; done >\"$0\"" ${copied}
            ${sources}
    COMMAND ${tidy} --checks=-readability-duplicate-include ${copied}
    COMMAND ${tidy} --checks=-*,readability-duplicate-include ${included}
    COMMAND ${CMAKE_COMMAND} -E touch ${copied}.passed
    DEPENDS ${included} ${sources} ${headers} ${PROJECT_SOURCE_DIR}/.clang-tidy
    COMMENT "clang-tidy ${target}"
    VERBATIM)
  set_property(GLOBAL APPEND PROPERTY kelvarune_tidied ${copied}.passed)
endfunction()

if(CLANG_TIDY)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.h
       ${PROJECT_SOURCE_DIR}/tools/*.h)
  get_property(directories DIRECTORY src PROPERTY SUBDIRECTORIES)
  get_property(tools DIRECTORY tools PROPERTY SUBDIRECTORIES)
  foreach(directory IN LISTS directories tools)
    get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target IN LISTS targets)
      get_target_property(type ${target} TYPE)
      if(type MATCHES "LIBRARY|EXECUTABLE" AND NOT type STREQUAL "INTERFACE_LIBRARY")
        kelvarune_tidy(${target})
      endif()
    endforeach()
  endforeach()
  get_property(tidied GLOBAL PROPERTY kelvarune_tidied)
  add_custom_target(tidy DEPENDS ${tidied})
endif()
