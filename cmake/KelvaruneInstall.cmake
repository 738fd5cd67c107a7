# What `cmake --install` installs beside the programs. Everything that developers need is in the
# component "development"; the rest, also the programs, carries no component, which CMake calls
# "Unspecified". Installed files find each other by where they lie: any prefix will do.

include(CMakePackageConfigHelpers)

# The manual pages carry a day that does not change from build to build.
set(KELVARUNE_RELEASE_DAY "2026-11-21" CACHE STRING "Day of this version, YYYY-MM-DD")

set(KELVARUNE_ZSH_COMPLETIONS
    "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
    CACHE STRING "Where zsh looks for completions, below the prefix")

# --- Libraries, headers, package files ----------------------------------------------------------

# In the order in which a linker wants them: users before what they use.
set(libraries director report mechanism utils resource pos xml process file)

# What other programs may include, by paths relative to src and then to include/kelvarune. Each of
# them compiles alone, and after Qt's headers with Qt's keywords.
set(public_headers
    director/JobSlots.h
    director/Observation.h
    director/ProofData.h
    director/ProofDirector.h
    director/SecondaryFileSubjects.h
    director/StopOnSignals.h
    file/RunLock.h
    file/Descriptor.h
    front/Report.h
    front/Utils.h
    mechanism/Faults.h
    mechanism/Mechanism.h
    mechanism/Remarks.h
    pos/Edits.h
    pos/Faults.h
    pos/Goals.h
    pos/Merge.h
    pos/Sync.h
    pos/pos.h
    process/Excerpt.h
    process/Guardian.h
    process/StartUp.h
    process/StopSignals.h
    resource/ResourceManager.h
    resource/ResourceMarks.h
    resource/T_resource_comment.h
    resource/T_resource_file.h
    resource/T_resource_ident.h
    resource/T_resource_item.h
    resource/T_resource_line.h
    resource/T_resource_manager.h
    resource/T_resource_source.h
    resource/T_resource_string.h
    resource/T_resource_tool.h
    resource/s_fopen.h
    resource/syntax_analysis.h
    text/Paths.h)

list(TRANSFORM libraries PREPEND kelvarune_ OUTPUT_VARIABLE targets)
install(
  TARGETS ${targets}
  EXPORT kelvarune
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

foreach(header IN LISTS public_headers)
  get_filename_component(folder ${header} DIRECTORY)
  install(
    FILES ${PROJECT_SOURCE_DIR}/src/${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvarune/${folder}
    COMPONENT development)
endforeach()

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/kelvarune)
install(
  EXPORT kelvarune
  NAMESPACE kelvarune::
  FILE kelvaruneTargets.cmake
  DESTINATION ${package_directory}
  COMPONENT development)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/package/kelvaruneConfig.cmake.in
  ${PROJECT_BINARY_DIR}/package/kelvaruneConfig.cmake INSTALL_DESTINATION ${package_directory})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/kelvaruneConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/package/kelvaruneConfig.cmake
        ${PROJECT_BINARY_DIR}/package/kelvaruneConfigVersion.cmake
  DESTINATION ${package_directory}
  COMPONENT development)

# Its paths start from where it lies, so that the tree may be moved.
set(pkgconfig_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH KELVARUNE_UP /${pkgconfig_directory} /)
string(REGEX REPLACE "/$" "" KELVARUNE_UP "${KELVARUNE_UP}")
list(TRANSFORM libraries PREPEND -lkelvarune_ OUTPUT_VARIABLE KELVARUNE_LIBS)
list(JOIN KELVARUNE_LIBS " " KELVARUNE_LIBS)
configure_file(${PROJECT_SOURCE_DIR}/cmake/package/kelvarune.pc.in
               ${PROJECT_BINARY_DIR}/package/kelvarune.pc @ONLY)
install(
  FILES ${PROJECT_BINARY_DIR}/package/kelvarune.pc
  DESTINATION ${pkgconfig_directory}
  COMPONENT development)

# --- Manual pages, completions, examples ---------------------------------------------------------

find_program(LOWDOWN lowdown)
file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.md)
set(built_pages "")
if(LOWDOWN)
  foreach(page IN LISTS pages)
    get_filename_component(name ${page} NAME_WLE) # for instance kelvarune.1
    get_filename_component(title ${name} NAME_WLE)
    get_filename_component(section ${name} LAST_EXT)
    string(SUBSTRING ${section} 1 -1 section)
    set(built ${PROJECT_BINARY_DIR}/man/${name})
    add_custom_command(
      OUTPUT ${built}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND
        ${LOWDOWN} -s -T man --out-no-smarty -m title=${title} -m section=${section} -m
        date=${KELVARUNE_RELEASE_DAY} -m "source=kelvarune ${PROJECT_VERSION}" -o ${built} ${page}
      DEPENDS ${page}
      COMMENT "Manual page ${name}"
      VERBATIM)
    list(APPEND built_pages ${built})
    install(FILES ${built} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
  endforeach()
  add_custom_target(man ALL DEPENDS ${built_pages})
else()
  message(STATUS "No lowdown: the manual pages are left out")
endif()

# bash and fish load the file of a program's name, for each program with a manual page; zsh has one
# for all. They find complete.py by its place beside theirs.
set(completions ${PROJECT_SOURCE_DIR}/completions)
install(FILES ${completions}/complete.py DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvarune)
foreach(page IN LISTS pages)
  get_filename_component(name ${page} NAME)
  if(name MATCHES "^(.*)\\.1\\.md$")
    set(program ${CMAKE_MATCH_1})
    install(
      FILES ${completions}/kelvarune.bash
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME ${program})
    install(
      FILES ${completions}/kelvarune.fish
      DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
      RENAME ${program}.fish)
  endif()
endforeach()
install(FILES ${completions}/_kelvarune DESTINATION ${KELVARUNE_ZSH_COMPLETIONS})

# Guides for users; the other documents tell of the source.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/guides
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelvarune)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/mechanisms DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvarune)

# Not below share/doc: small systems leave that out when they install packages.
install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvarune
  USE_SOURCE_PERMISSIONS
  PATTERN "__pycache__" EXCLUDE
  PATTERN "*~" EXCLUDE)
