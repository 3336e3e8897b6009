# The icon: as it is, and drawn in the sizes that panels and menus ask for where rsvg-convert is
# installed. Without it the program is complete too, and -DTARQ_RSVG_CONVERT=OFF is without it anywhere.
find_program(TARQ_RSVG_CONVERT rsvg-convert)

set(hicolor ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
set(drawing ${PROJECT_SOURCE_DIR}/assets/tarq-linux.svg)
install(FILES ${drawing} DESTINATION ${hicolor}/scalable/apps)

if(TARQ_RSVG_CONVERT)
    foreach(size 16 22 24 32 48 64 128 256 512)
        set(icon ${CMAKE_CURRENT_BINARY_DIR}/icons/${size}.png)
        add_custom_command(OUTPUT ${icon}
            COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/icons
            COMMAND ${TARQ_RSVG_CONVERT} --width=${size} --height=${size} --output=${icon} ${drawing}
            DEPENDS ${drawing}
            VERBATIM)
        list(APPEND icons ${icon})
        install(FILES ${icon} RENAME tarq-linux.png
            DESTINATION ${hicolor}/${size}x${size}/apps)
    endforeach()
    add_custom_target(tarq_icons ALL DEPENDS ${icons})
endif()
