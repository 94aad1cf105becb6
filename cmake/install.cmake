# What `cmake --install` puts in place: the library, its headers, and the files by which CMake and pkg-config find it.
include(CMakePackageConfigHelpers)

set(TESSERA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tessera)

install(TARGETS tessera EXPORT tesseraTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/tessera DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h")

install(EXPORT tesseraTargets NAMESPACE tessera:: DESTINATION ${TESSERA_CMAKE_DIR})
configure_package_config_file(cmake/tesseraConfig.cmake.in ${PROJECT_BINARY_DIR}/tesseraConfig.cmake
                              INSTALL_DESTINATION ${TESSERA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tesseraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tesseraConfig.cmake ${PROJECT_BINARY_DIR}/tesseraConfigVersion.cmake
        DESTINATION ${TESSERA_CMAKE_DIR})

# Its folders are written relative to its own place, so that an installed tree can be moved.
file(RELATIVE_PATH TESSERA_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH TESSERA_PC_INCLUDEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR})
if(BUILD_SHARED_LIBS)
  set(TESSERA_PC_DEFINES "")
  set(TESSERA_PC_LIBS "")
else()
  set(TESSERA_PC_DEFINES " -DTESSERA_STATIC")
  set(TESSERA_PC_LIBS " -lOpenGL -pthread")
endif()
configure_file(cmake/tessera.pc.in ${PROJECT_BINARY_DIR}/tessera.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tessera.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
