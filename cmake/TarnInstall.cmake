# What `cmake --install` puts where: headers below include/tarn, the kernel library with its version, the modules in
# lib/tarn, where the host looks for them, the programs, a pkg-config file and a CMake package.
include(GNUInstallDirs)
set(TARN_MODULES_DIR ${CMAKE_INSTALL_LIBDIR}/tarn)
set(TARN_HEADERS_DIR ${CMAKE_INSTALL_INCLUDEDIR}/tarn)

set_target_properties(tarn-kernel PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR} INSTALL_RPATH "$ORIGIN")
install(TARGETS tarn-kernel LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

file(RELATIVE_PATH from_modules /${TARN_MODULES_DIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(mixconsole mixsurface PROPERTIES INSTALL_RPATH "$ORIGIN/${from_modules}")
install(TARGETS mixconsole mixsurface LIBRARY DESTINATION ${TARN_MODULES_DIR})
install(DIRECTORY resources/surfaces DESTINATION ${TARN_MODULES_DIR} FILES_MATCHING PATTERN *.xml)

# Plug-ins for media files, where the manager looks for them beside the kernel library.
file(RELATIVE_PATH from_file_plugins /${TARN_MODULES_DIR}/fileio /${CMAKE_INSTALL_LIBDIR})
set_target_properties(fio-wave fio-sndfile fio-ffmpeg PROPERTIES INSTALL_RPATH "$ORIGIN/${from_file_plugins}")
install(TARGETS fio-wave fio-sndfile fio-ffmpeg LIBRARY DESTINATION ${TARN_MODULES_DIR}/fileio)
set_target_properties(FileIOSurrogate PROPERTIES INSTALL_RPATH "$ORIGIN/${from_modules}")
install(TARGETS FileIOSurrogate RUNTIME DESTINATION ${TARN_MODULES_DIR})
install(FILES fileio/plugins/tarn.Fio2007-Config DESTINATION ${TARN_MODULES_DIR}/fileio)

set(programs mixhost tarn-demo tarn-effect-scan tarn-gallery tarn-image tarn-media tarn-settings)
file(RELATIVE_PATH from_programs /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(${programs} PROPERTIES INSTALL_RPATH "$ORIGIN/${from_programs}")
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# Where the host looks when the modules do not lie beside it, as they do in the build folder.
file(RELATIVE_PATH modules_from_programs /${CMAKE_INSTALL_BINDIR} /${TARN_MODULES_DIR})
target_compile_definitions(mixhost PRIVATE INSTALLED_MODULES="${modules_from_programs}")

# Headers that need no window system, without those that families share among their own sources.
foreach(own platform/store_file kernel/block_heap kernel/list_internal kernel/metrics/metric_key kernel/print/digits
    kernel/print/directive kernel/print/group kernel/print/text_writer kernel/time/time_math audio/cells audio/codec_names
    audio/sub_format mediafile/meta/big_endian mediafile/meta/id3 fileio/enumerators fileio/filter_builder
    fileio/hardware_decoders fileio/identify fileio/media_properties fileio/plugin_cache fileio/plugin_config
    fileio/plugin_library fileio/plugin_list fileio/audio_blanket fileio/audio_ring fileio/blanket fileio/blankets fileio/call_queue fileio/find_stream fileio/open_files
    fileio/surrogate_process fileio/surrogates)
  list(APPEND own_headers REGEX "/${own}[.]h$" EXCLUDE)
endforeach()
foreach(room platform kernel audio image mediafile fileio contract)
  install(DIRECTORY ${room} DESTINATION ${TARN_HEADERS_DIR} FILES_MATCHING
    PATTERN *.h
    PATTERN ui EXCLUDE
    PATTERN copy EXCLUDE
    PATTERN rate EXCLUDE
    PATTERN rows EXCLUDE
    PATTERN opencl EXCLUDE
    PATTERN convert EXCLUDE
    PATTERN plugins EXCLUDE
    PATTERN surrogate EXCLUDE
    ${own_headers})
endforeach()
install(FILES ${CMAKE_BINARY_DIR}/strings/kernel/lang/kernel_strings.h DESTINATION ${TARN_HEADERS_DIR}/kernel/lang)
install(DIRECTORY resources/themes DESTINATION ${CMAKE_INSTALL_DATADIR}/tarn FILES_MATCHING PATTERN *.ini)
install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

file(RELATIVE_PATH from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /${CMAKE_INSTALL_INCLUDEDIR})
configure_file(cmake/tarn-kernel.pc.in tarn-kernel.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/tarn-kernel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
include(CMakePackageConfigHelpers)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/Tarn)
configure_package_config_file(cmake/TarnConfig.cmake.in TarnConfig.cmake INSTALL_DESTINATION ${package}
  PATH_VARS CMAKE_INSTALL_LIBDIR TARN_HEADERS_DIR TARN_MODULES_DIR)
write_basic_package_version_file(TarnConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/TarnConfig.cmake ${CMAKE_BINARY_DIR}/TarnConfigVersion.cmake DESTINATION ${package})
