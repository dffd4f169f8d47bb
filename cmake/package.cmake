# What users get: a folder and its zip, in the build folder. Texts have the line ends that every editor of Windows shows.
set(package ${CMAKE_BINARY_DIR}/package/QxUUI10-${PROJECT_VERSION})
set(package_archive ${CMAKE_BINARY_DIR}/QxUUI10-${PROJECT_VERSION}-win64.zip)
file(GLOB texts CONFIGURE_DEPENDS package/*.md package/*.inf package/*.h)
set(contents)
foreach(text IN LISTS texts ITEMS docs/settings-stream.md docs/registry-layout.md LICENSE)
  get_filename_component(name ${text} NAME)
  configure_file(${text} ${CMAKE_BINARY_DIR}/package/texts/${name} @ONLY NEWLINE_STYLE CRLF)
  list(APPEND contents ${CMAKE_BINARY_DIR}/package/texts/${name})
endforeach()
list(APPEND contents ${CMAKE_SOURCE_DIR}/help/QxUUI51.chm)

set(bin $<TARGET_FILE_DIR:QxUUI10>)
add_custom_command(
  OUTPUT ${package_archive}
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${package}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${package}/symbols
  COMMAND ${CMAKE_COMMAND} -E copy ${contents} $<TARGET_FILE:QxUUI10> $<TARGET_FILE:qxports> ${package}
  COMMAND ${CMAKE_COMMAND} -E copy ${bin}/QxUUI10.pdb ${bin}/qxports.pdb ${package}/symbols
  COMMAND ${CMAKE_SOURCE_DIR}/cmake/make_zip.sh ${package} ${package_archive}
  DEPENDS QxUUI10 qxports ${contents} ${CMAKE_SOURCE_DIR}/cmake/make_zip.sh
  COMMENT "Putting the package together"
  VERBATIM)
add_custom_target(package_zip ALL DEPENDS ${package_archive})
add_test(NAME package COMMAND ${CMAKE_SOURCE_DIR}/tests/windows/package.sh ${package_archive})
