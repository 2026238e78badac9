# What `cmake --install` gives, in three components: library (what programs need to run), dev (what hosts need to be
# built) and tool; and the packages that CPack makes of them: one .deb for each, or one .zip of everything for Windows.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(packageFolder "${CMAKE_INSTALL_LIBDIR}/cmake/arbtree")

# The stand-ins stand beside the library, in a place that may be moved.
set(libraries arbtree elemdefs srcaccess baseutil rtcore compwrite)
if(NOT WIN32)
  set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(TARGET arbtree_static)
  list(APPEND libraries arbtree_static)
endif()
install(TARGETS ${libraries} EXPORT arbtreeTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT library
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

install(DIRECTORY include/arbtree DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(EXPORT arbtreeTargets NAMESPACE arbtree:: DESTINATION "${packageFolder}" COMPONENT dev)
file(CONFIGURE OUTPUT arbtreeConfig.cmake
  CONTENT "include(\"\${CMAKE_CURRENT_LIST_DIR}/arbtreeTargets.cmake\")\n" @ONLY)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/arbtreeConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/arbtreeConfig.cmake" "${PROJECT_BINARY_DIR}/arbtreeConfigVersion.cmake"
  DESTINATION "${packageFolder}" COMPONENT dev)

file(RELATIVE_PATH prefixFromPkgConfig "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/arbtree.pc.in arbtree.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/arbtree.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT dev)

install(FILES LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT library)
install(DIRECTORY examples/ DESTINATION "${CMAKE_INSTALL_DOCDIR}/examples" COMPONENT dev
  FILES_MATCHING PATTERN "*.c" PATTERN "*.cpp")
file(GLOB manuals3 CONFIGURE_DEPENDS docs/*.3)
install(FILES ${manuals3} DESTINATION "${CMAKE_INSTALL_MANDIR}/man3" COMPONENT dev)
if(WIN32)
  # Other compilers make their import libraries from it.
  install(FILES "${PROJECT_BINARY_DIR}/src/arbtree.def" DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev)
  if(TARGET example_first_host)
    set_target_properties(example_first_host PROPERTIES OUTPUT_NAME first_host)
    install(TARGETS example_first_host RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT dev)
  endif()
endif()

if(TARGET arbtree_tool)
  file(RELATIVE_PATH librariesFromPrograms "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  if(NOT WIN32)
    set_target_properties(arbtree_tool PROPERTIES INSTALL_RPATH "$ORIGIN/${librariesFromPrograms}")
  endif()
  install(TARGETS arbtree_tool RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
  file(GLOB manuals1 CONFIGURE_DEPENDS docs/*.1)
  install(FILES ${manuals1} DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
  install(FILES tools/arbtree/completion/arbtree
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tool)
endif()

set(CPACK_PACKAGE_NAME arbtree)
set(CPACK_PACKAGE_VENDOR "The arbtree developers")
set(CPACK_PACKAGE_CONTACT "The arbtree developers <arbtree@localhost>")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_ALL library dev)
if(TARGET arbtree_tool)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_SYSTEM_NAME windows32)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libarbtree${PROJECT_VERSION_MAJOR})
  set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_DEV_PACKAGE_NAME libarbtree-dev)
  set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libarbtree${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_TOOL_PACKAGE_NAME arbtree)
  set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION text)
  set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libarbtree${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
  # What the compiler's and the system's libraries are called in the distribution that this is built on.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
endif()
include(CPack)
cpack_add_component(library DESCRIPTION "Large documents that are produced while they are consumed: the library, and
 the stand-ins of the libraries that it leaves to the host.")
cpack_add_component(dev DESCRIPTION "What hosts of the arbtree library are built with.")
cpack_add_component(tool DESCRIPTION "Streams XML files and archives through the arbtree library.")
