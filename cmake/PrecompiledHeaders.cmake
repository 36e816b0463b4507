# What nearly every source includes is parsed once: Qt and the standard library, nothing of ours.
# The tidy build sets CMAKE_DISABLE_PRECOMPILE_HEADERS and so proves that every file includes what
# it needs.
#
# GCC takes a precompiled header only where all macros it was made with are defined alike: it is
# made with those that all Qt targets share, once for the program, whose texts are explicit, and
# once for the tests.
function(moravu_add_precompiled name)
    add_library(${name} OBJECT ${PROJECT_SOURCE_DIR}/cmake/precompiled.cpp)
    set_property(TARGET ${name} PROPERTY AUTOMOC OFF)
    target_link_libraries(${name} PRIVATE Qt5::Core moravu_warnings ${ARGN})
    target_include_directories(${name} SYSTEM PRIVATE
        ${Qt5Gui_INCLUDE_DIRS} ${Qt5Widgets_INCLUDE_DIRS} ${Qt5Network_INCLUDE_DIRS})
    target_precompile_headers(${name} PRIVATE
        <algorithm> <functional> <memory> <optional> <utility> <vector>
        <QtCore> <QtGui> <QtWidgets> <QNetworkAccessManager> <QNetworkReply> <QNetworkRequest>)
endfunction()

moravu_add_precompiled(moravu_precompiled_program moravu_explicit_texts)
moravu_add_precompiled(moravu_precompiled_tests)
