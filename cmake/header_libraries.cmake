# The header-only libraries of the host side: CLI11 (command line) and nlohmann-json (machine files). Cross builds must not
# see the rest of /usr/include, so that the two stand in a folder of their own.
include_guard(GLOBAL)

add_library(qx_header_libraries INTERFACE)
foreach(header IN ITEMS CLI/CLI.hpp nlohmann/json.hpp)
  string(MAKE_C_IDENTIFIER "QX_${header}_DIR" where)
  find_path(${where} ${header} PATHS /usr/include /usr/local/include REQUIRED)
  get_filename_component(folder ${header} DIRECTORY)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/header-libraries)
  file(CREATE_LINK ${${where}}/${folder} ${CMAKE_BINARY_DIR}/header-libraries/${folder} SYMBOLIC)
endforeach()
target_include_directories(qx_header_libraries SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/header-libraries)
