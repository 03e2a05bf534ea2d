# The kernel side of the linux backend (spidev, GPIO through libgpiod, RTC and frame-buffer
# ioctls, the backlight class, sound events) behind small seams. Built in every flavour, so the
# kernel calls always compile and the logic above them is tested against fakes.
find_package(Threads REQUIRED)
pkg_check_modules(GPIOD REQUIRED IMPORTED_TARGET libgpiod)

add_library(serviceslinux STATIC
    ${CMAKE_CURRENT_LIST_DIR}/beeper.h ${CMAKE_CURRENT_LIST_DIR}/beeper.cpp
    ${CMAKE_CURRENT_LIST_DIR}/boardconfig.h ${CMAKE_CURRENT_LIST_DIR}/boardconfig.cpp
    ${CMAKE_CURRENT_LIST_DIR}/devicewarning.h ${CMAKE_CURRENT_LIST_DIR}/devicewarning.cpp
    ${CMAKE_CURRENT_LIST_DIR}/fm25v02chip.h ${CMAKE_CURRENT_LIST_DIR}/fm25v02chip.cpp
    ${CMAKE_CURRENT_LIST_DIR}/framebuffer.h ${CMAKE_CURRENT_LIST_DIR}/framebuffer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/gpiolines.h ${CMAKE_CURRENT_LIST_DIR}/gpiolines.cpp
    ${CMAKE_CURRENT_LIST_DIR}/parameterstore.h ${CMAKE_CURRENT_LIST_DIR}/parameterstore.cpp
    ${CMAKE_CURRENT_LIST_DIR}/rtcdevice.h ${CMAKE_CURRENT_LIST_DIR}/rtcdevice.cpp
    ${CMAKE_CURRENT_LIST_DIR}/spibus.h ${CMAKE_CURRENT_LIST_DIR}/spibus.cpp
    ${CMAKE_CURRENT_LIST_DIR}/standins.h ${CMAKE_CURRENT_LIST_DIR}/standins.cpp
    ${CMAKE_CURRENT_LIST_DIR}/sysfsbacklight.h ${CMAKE_CURRENT_LIST_DIR}/sysfsbacklight.cpp
)
# Position-independent, so that it can go into a shared services library as well.
set_target_properties(serviceslinux PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_link_libraries(serviceslinux
    PUBLIC Qt${QT_VERSION_MAJOR}::Core Threads::Threads
    PRIVATE PkgConfig::GPIOD)
