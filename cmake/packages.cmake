# What is installed, and the Debian packages made of it: the console tester, and, for desks, the simulated instrument.
# The instrument has a device library of its own, so a build for it neither installs nor packages the simulated one.
set(packages console-tester)
if(NOT QVL_API_LIBRARY AND NOT CMAKE_CROSSCOMPILING)
    list(APPEND packages simulated-instrument)
endif()

# Installs what a command makes of a file. It is made along with the program, so that packages can be made whenever
# there is one.
function(install_made command file destination name component)
    set(made ${PROJECT_BINARY_DIR}/packaging/${component}/${name})
    file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/packaging/${component})
    add_custom_command(OUTPUT ${made} DEPENDS ${file} ${ARGN} VERBATIM COMMAND sh -c "${command} '${file}' >'${made}'")
    add_custom_target(installed-${component}-${name} DEPENDS ${made})
    add_dependencies(console-tester installed-${component}-${name})
    install(FILES ${made} DESTINATION ${destination} COMPONENT ${component})
endfunction()

function(install_compressed file destination component)
    get_filename_component(name ${file} NAME)
    install_made("gzip -9nc" ${file} ${destination} ${name}.gz ${component})
endfunction()

function(install_page page destination component)
    get_filename_component(name ${page} NAME)
    set(changes ${PROJECT_SOURCE_DIR}/packaging/installed-pages.sed)
    install_made("sed -f '${changes}'" ${PROJECT_SOURCE_DIR}/${page} share/doc/zerko-${component}/${destination} ${name}
                 ${component} ${changes})
endfunction()

set(folder ${PROJECT_SOURCE_DIR}/packaging)
foreach(package ${packages})
    install(FILES ${folder}/copyright DESTINATION share/doc/zerko-${package} COMPONENT ${package})
    install_compressed(${folder}/changelog share/doc/zerko-${package} ${package})
endforeach()

install(TARGETS console-tester DESTINATION bin COMPONENT console-tester)
install(FILES ${folder}/self-test.png DESTINATION share/zerko-console-tester COMPONENT console-tester)
install_compressed(${folder}/console-tester.1 share/man/man1 console-tester)
file(GLOB pages CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} docs/guide/*.md)
foreach(page ${pages})
    install_page(${page} guide console-tester)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/guide/pictures DESTINATION share/doc/zerko-console-tester/guide
        COMPONENT console-tester)

if(simulated-instrument IN_LIST packages)
    install(TARGETS qvl-embedded-api DESTINATION ${DEVICE_LIBRARY_FOLDER} COMPONENT simulated-instrument)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/simulator/instruments/ COMPONENT simulated-instrument
            DESTINATION share/zerko-simulated-instrument FILES_MATCHING PATTERN *.toml)
    install_compressed(${folder}/zerko-simulated-instrument.7 share/man/man7 simulated-instrument)
    install_page(docs/simulated-instrument.md . simulated-instrument)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/pictures DESTINATION share/doc/zerko-simulated-instrument
            COMPONENT simulated-instrument FILES_MATCHING PATTERN *.svg)
    install(PROGRAMS ${PROJECT_SOURCE_DIR}/scripts/plot DESTINATION bin RENAME zerko-plot COMPONENT simulated-instrument)
    install_compressed(${folder}/zerko-plot.1 share/man/man1 simulated-instrument)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)  # wherever cpack is called
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL ${packages})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "ZERKO team <team@zerko.invalid>")
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()

# The runtimes that the programs' symbols call for; tests/packaging/packages.sh compares.
set(CPACK_DEBIAN_CONSOLE-TESTER_PACKAGE_NAME zerko-console-tester)
set(CPACK_DEBIAN_CONSOLE-TESTER_PACKAGE_DEPENDS "libc6 (>= 2.34), libgcc-s1, libstdc++6 (>= 11)")
set(CPACK_DEBIAN_CONSOLE-TESTER_PACKAGE_SUGGESTS zerko-simulated-instrument)
set(CPACK_DEBIAN_CONSOLE-TESTER_DESCRIPTION "menu in text mode for the ZERKO turns-ratio instrument
Runs turns-ratio tests on transformers, calibrates the instrument, lists its
test database and serves its settings. It needs the instrument's device
library, libqvl-embedded-api.so, or the simulated instrument.")
set(CPACK_DEBIAN_SIMULATED-INSTRUMENT_PACKAGE_NAME zerko-simulated-instrument)
set(CPACK_DEBIAN_SIMULATED-INSTRUMENT_PACKAGE_DEPENDS
    "libc6 (>= 2.35), libgcc-s1, libsqlite3-0, libstdc++6 (>= 11)")
set(CPACK_DEBIAN_SIMULATED-INSTRUMENT_PACKAGE_RECOMMENDS "gnuplot-nox | gnuplot, zerko-console-tester")
set(CPACK_DEBIAN_SIMULATED-INSTRUMENT_DESCRIPTION "simulated ZERKO instrument for desks without one
Stands in for the instrument behind the same device library: a transformer
model, a measuring channel with noise, a test database and faults by name.
zerko-plot draws the result files of the console tester.")
include(CPack)
