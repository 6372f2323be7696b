# Texts of modules, from the translators' files in resources/strings/NAME.

# kind records: the kernel's records, a C source. kind resources: numbered texts, a C++ source, and the name of their
# enumeration as one more argument. The header lies in the build folder under its given name.
function(tarn_compile_strings target kind name header extension)
  set(folder ${CMAKE_SOURCE_DIR}/resources/strings/${name})
  set(out ${CMAKE_BINARY_DIR}/strings/${header})
  set(source ${CMAKE_BINARY_DIR}/strings/${name}_strings.${extension})
  cmake_path(GET out PARENT_PATH out_folder)
  file(MAKE_DIRECTORY ${out_folder})
  file(GLOB languages CONFIGURE_DEPENDS ${folder}/*.po)
  add_custom_command(OUTPUT ${out} ${source}
    COMMAND compile-strings ${kind} ${folder}/${name}.pot ${out} ${source} ${ARGN}
    DEPENDS compile-strings ${folder}/${name}.pot ${languages}
    COMMENT "Texts of the ${name}" VERBATIM)
  target_sources(${target} PRIVATE ${source} ${out})
endfunction()
