# What `cmake --install` puts where: flat public headers in include/TWQuickTime, the library, the
# program, the resources, and the two ways by which other projects find them.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(public_folders Sources Platform/Foundation Platform/Base Platform/Toolbox Platform/QTKit Platform/Graphics)
set(public_headers "")
foreach(folder IN LISTS public_folders)
    file(GLOB folder_headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/${folder}/*.h)
    list(APPEND public_headers ${folder_headers})
endforeach()

# The header that includes all others is made from what is there, so that none can be forgotten.
set(umbrella_includes "")
set(header_names "")
foreach(header IN LISTS public_headers)
    cmake_path(GET header FILENAME header_name)
    list(APPEND header_names ${header_name})
endforeach()
list(SORT header_names)
foreach(header_name IN LISTS header_names)
    string(APPEND umbrella_includes "#include \"${header_name}\"\n")
endforeach()
configure_file(cmake/TWQuickTime.h.in ${CMAKE_BINARY_DIR}/include/TWQuickTime.h @ONLY)

target_compile_features(TWQuickTime INTERFACE cxx_std_20)
install(FILES ${public_headers} ${CMAKE_BINARY_DIR}/include/TWQuickTime.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/TWQuickTime)
install(TARGETS TWQuickTime EXPORT TWQuickTimeTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} ${CMAKE_INSTALL_INCLUDEDIR}/TWQuickTime)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/Resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/TWQuickTime)

# The program finds the library beside itself wherever the tree is moved.
file(RELATIVE_PATH library_from_program /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(twqt PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_program}")
install(TARGETS twqt RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/TWQuickTime)
configure_package_config_file(cmake/TWQuickTimeConfig.cmake.in ${CMAKE_BINARY_DIR}/TWQuickTimeConfig.cmake
                              INSTALL_DESTINATION ${config_folder})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/TWQuickTimeConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(EXPORT TWQuickTimeTargets NAMESPACE TWQuickTime:: DESTINATION ${config_folder})
install(FILES ${CMAKE_BINARY_DIR}/TWQuickTimeConfig.cmake ${CMAKE_BINARY_DIR}/TWQuickTimeConfigVersion.cmake
        DESTINATION ${config_folder})

file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/TWQuickTime.pc.in ${CMAKE_BINARY_DIR}/TWQuickTime.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/TWQuickTime.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# In the build tree the library finds its resources where it finds them when it is installed.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_DATADIR})
file(CREATE_LINK ${CMAKE_SOURCE_DIR}/Resources ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_DATADIR}/TWQuickTime SYMBOLIC)
