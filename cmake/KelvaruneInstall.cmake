# What `cmake --install` installs beside the programs, and the two Debian packages.
#
# Everything that developers need is in the component "development"; the rest, also the programs,
# carries no component, which CMake calls "Unspecified".

include(CMakePackageConfigHelpers)

set(KELVARUNE_MAINTAINER
    "kelvarune maintainers <maintainers@kelvarune.example>"
    CACHE STRING "Name and address of whoever answers for the packages")

# The manual pages and the changelog carry a day that does not change from build to build.
set(KELVARUNE_RELEASE_DAY "2026-11-21" CACHE STRING "Day of this version, YYYY-MM-DD")

# --- Libraries, headers, package files ----------------------------------------------------------

# In the order in which a linker wants them: users before what they use.
set(libraries director report mechanism utils resource pos xml process file)

# What other programs may include, by paths relative to src and then to include/kelvarune. Each of
# them compiles alone, and after Qt's headers with Qt's keywords.
set(public_headers
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
find_program(GZIP gzip)
file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.md)
set(built_pages "")
if(LOWDOWN AND GZIP)
  foreach(page IN LISTS pages)
    get_filename_component(name ${page} NAME_WLE) # for instance kelvarune.1
    get_filename_component(title ${name} NAME_WLE)
    get_filename_component(section ${name} LAST_EXT)
    string(SUBSTRING ${section} 1 -1 section)
    set(built ${PROJECT_BINARY_DIR}/man/${name})
    add_custom_command(
      OUTPUT ${built}.gz
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND
        ${LOWDOWN} -s -T man --out-no-smarty -m title=${title} -m section=${section} -m
        date=${KELVARUNE_RELEASE_DAY} -m "source=kelvarune ${PROJECT_VERSION}" -o ${built} ${page}
      COMMAND ${GZIP} -9nf ${built}
      DEPENDS ${page}
      COMMENT "Manual page ${name}"
      VERBATIM)
    list(APPEND built_pages ${built}.gz)
    install(FILES ${built}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
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
# What belongs to Debian's system has a directory of its own.
install(
  CODE "set(kelvarune_zsh site-functions)
if(CMAKE_INSTALL_PREFIX MATCHES \"/usr$\" AND EXISTS /etc/debian_version)
  set(kelvarune_zsh vendor-completions)
endif()
file(INSTALL \"${completions}/_kelvarune\"
     DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/zsh/\${kelvarune_zsh}\")")

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

# --- Debian packages -----------------------------------------------------------------------------

# No revision in the version, so Debian takes the packages for native and their changelog is plain
# "changelog".
if(GZIP)
  find_program(DATE date)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C ${DATE} -u -R -d ${KELVARUNE_RELEASE_DAY}
    OUTPUT_VARIABLE KELVARUNE_RELEASE_DATE
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/package/changelog.in
                 ${PROJECT_BINARY_DIR}/package/changelog @ONLY)
  execute_process(COMMAND ${GZIP} -9nkf ${PROJECT_BINARY_DIR}/package/changelog)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/package/copyright.in
                 ${PROJECT_BINARY_DIR}/package/copyright @ONLY)
  set(package_documents ${PROJECT_BINARY_DIR}/package/changelog.gz
                        ${PROJECT_BINARY_DIR}/package/copyright)
  install(FILES ${package_documents} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/kelvarune)
  install(
    FILES ${package_documents}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libkelvarune-dev
    COMPONENT development)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGE_NAME kelvarune)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # the first line of each description is its summary
set(CPACK_PACKAGE_CONTACT "${KELVARUNE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Unspecified development)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_NAME kelvarune)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_SECTION math)
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_SHLIBDEPS ON)
# Completion and scripts of the examples are for python3.
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_DEPENDS "python3:any")
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_RECOMMENDS "z3, cvc5")
set(CPACK_DEBIAN_UNSPECIFIED_PACKAGE_SUGGESTS
    "libkelvarune-dev, slurm-client, eprover, spass, cvc4, boolector")
set(CPACK_COMPONENT_UNSPECIFIED_DESCRIPTION
    "replays external proof mechanisms over proof obligations
kelvarune runs provers over the proof obligations of one component of a formal
development and keeps their verdicts in the component's status file. Which
provers, and how they are called, is described in small XML files.

The package also holds kelvarune-goals, which proves the goals in SMT-LIB and
TPTP files and keeps proofs in step with these, kelvarune-play, which makes
first proofs, kelvarune-pos, which looks at status files and edits them,
kelvarune-mech, which checks and writes descriptions of provers,
kelvarune-cache, which repeats the answers of provers, kelvarune-limit, which
holds provers to limits of time and memory, mechanisms for provers of SMT-LIB
and TPTP, and a complete example for the SMT solvers z3 and cvc5.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkelvarune-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qtbase5-dev (>= ${Qt5Core_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "replays external proof mechanisms - development files
kelvarune runs provers over the proof obligations of one component of a formal
development and keeps their verdicts in the component's status file.

The package holds static libraries and headers, with which other programs can
play mechanisms and read status files, and files for CMake and pkg-config.")

include(CPack)
