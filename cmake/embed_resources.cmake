# qx_embed_resources(<target> <script.rc> [DEPENDS <file>...])
#
# Compiles a resource script and links its bytes into a native target, where platform/loader hands them to the platform: the
# script that windres links into the Windows library is the only source of templates and texts. The script's own folder, the
# project's root and the build's generated/ are searched for what it includes. llvm-rc is given a file name without a folder: it would take a path that
# begins like one of its options ("/c...") for that option.
find_program(QX_LLVM_RC NAMES llvm-rc llvm-rc-14 llvm-rc-15 llvm-rc-16 REQUIRED)

function(qx_embed_resources target script)
  cmake_parse_arguments(arg "" "" "DEPENDS" ${ARGN})
  get_filename_component(folder ${script} DIRECTORY)
  get_filename_component(name ${script} NAME_WE)
  set(expanded ${CMAKE_CURRENT_BINARY_DIR}/${name}.expanded.rc)
  set(compiled ${CMAKE_CURRENT_BINARY_DIR}/${name}.res)
  add_custom_command(
    OUTPUT ${compiled}
    COMMAND ${CMAKE_C_COMPILER} -E -P -xc -DRC_INVOKED -I${CMAKE_SOURCE_DIR}/platform/include -I${CMAKE_SOURCE_DIR}
            -I${folder} -I${CMAKE_BINARY_DIR}/generated ${script} -o ${expanded}
    COMMAND ${QX_LLVM_RC} /no-preprocess /C 65001 /I ${folder} /I ${CMAKE_BINARY_DIR}/generated /FO ${name}.res ${name}.expanded.rc
    DEPENDS ${script} ${CMAKE_SOURCE_DIR}/platform/include/winresrc.h ${CMAKE_BINARY_DIR}/generated/qx_version.h
            ${CMAKE_BINARY_DIR}/generated/${name}.manifest ${arg_DEPENDS}
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    COMMENT "Compiling the resources of ${name}"
    VERBATIM)
  set(QX_RESOURCE_FILE ${compiled})
  configure_file(${CMAKE_SOURCE_DIR}/platform/loader/resources.cpp.in ${CMAKE_CURRENT_BINARY_DIR}/${name}_resources.cpp @ONLY)
  set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${name}_resources.cpp PROPERTIES OBJECT_DEPENDS ${compiled})
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${name}_resources.cpp ${compiled})
endfunction()
