# How everything is built for Windows.

# Small and the same from any folder: what is not used goes, and no path of the build machine stays. Deprecated: the C++
# library's stable sort uses what it calls so itself, and clang says it in our name.
target_compile_options(qx_build INTERFACE -gcodeview -gno-codeview-command-line -ffunction-sections -fdata-sections -fstack-protector-strong
                       -ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -ffile-prefix-map=${CMAKE_BINARY_DIR}/=
                       -ffile-prefix-map=.= -ffile-prefix-map=../../= # for paths that ccache made relative
                       -fdebug-compilation-dir=. -Wno-deprecated-declarations)

# POSIX threads, for what has threads of its own: the simulated computer, and the tests. The library and qxports do without.
set(posix /usr/lib/gcc/x86_64-w64-mingw32/12-posix)
add_library(qx_threads INTERFACE)
target_compile_options(qx_threads INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-nostdinc++> "SHELL:-isystem ${posix}/include/c++"
  "SHELL:-isystem ${posix}/include/c++/x86_64-w64-mingw32" "SHELL:-isystem ${posix}/include/c++/backward")
target_link_directories(qx_threads INTERFACE ${posix})
target_link_libraries(qx_threads INTERFACE pthread)

# qx_ship(<target>)
#
# For what users install: one file that needs nothing but the system, the same byte for byte when it is built twice, without
# symbols. The debugger finds them in the PDB beside it, which carries the same id.
function(qx_ship target)
  set(pdb $<TARGET_FILE_BASE_NAME:${target}>.pdb)
  # The PDB holds the linker's command line, so it has paths from the build folder only.
  target_link_options(${target} PRIVATE -static -Wl,--gc-sections -Wl,--icf=all -Wl,--no-insert-timestamp
                      -Wl,--pdb=bin/${pdb} -Wl,-Xlink=-pdbaltpath:${pdb} -Wl,-Xlink=-pdbsourcepath:.)
  add_custom_command(TARGET ${target} POST_BUILD COMMAND ${CMAKE_OBJCOPY} --strip-all $<TARGET_FILE:${target}> VERBATIM)
endfunction()
