# What users get: `cmake --install` puts it into a folder, `cpack` into a zip.
install(FILES $<TARGET_FILE:QxUUI10> $<TARGET_FILE:qxports> DESTINATION . COMPONENT library)
install(FILES $<TARGET_FILE_DIR:QxUUI10>/QxUUI10.pdb $<TARGET_FILE_DIR:qxports>/qxports.pdb DESTINATION symbols COMPONENT library)
install(FILES package/README.md package/INTEGRATORS.md package/ADMINISTRATORS.md package/THIRD-PARTY.md package/QxUUI10-example-usb-adapter.inf
              package/QxUUI10-example-port.inf package/QxUUI10-example-pci-card.inf
              package/QxUUI10-example-pci-gpio.inf package/DRIVERS.md package/qxsettings.h docs/settings-stream.md
              docs/registry-layout.md help/QxUUI51.chm LICENSE
        DESTINATION . COMPONENT library)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME QxUUI10)
set(CPACK_PACKAGE_VENDOR "QxUUI10")
set(CPACK_PACKAGE_FILE_NAME QxUUI10-${PROJECT_VERSION}-win64)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_COMPONENTS_ALL library)
include(CPack)
