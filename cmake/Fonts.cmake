# The bundled braille fonts: every table data/fonts/<name>.txt becomes
# <root>/drive_c/Program Files/Quorvane/Fonts/<name>.dp in the build's system
# root, made by `pumex mkfont` once pumex is built. Only the tables are kept in
# the source tree. unicode-braille.txt is itself the output of
# `pumex mkfont --unicode-patterns`, kept as text so it can be read and checked.
#
# Include after add_subdirectory(tools).
if(NOT TARGET pumex)
  return()
endif()

set(PUMEX_FONT_TABLE_DIR ${CMAKE_SOURCE_DIR}/data/fonts)
set(PUMEX_FONT_DIR "${PUMEX_DEFAULT_ROOT}/drive_c/Program Files/Quorvane/Fonts")
file(GLOB PUMEX_FONT_TABLES CONFIGURE_DEPENDS ${PUMEX_FONT_TABLE_DIR}/*.txt)

set(PUMEX_FONT_FILES)
foreach(table ${PUMEX_FONT_TABLES})
  get_filename_component(font_name ${table} NAME_WE)
  set(font "${PUMEX_FONT_DIR}/${font_name}.dp")
  add_custom_command(OUTPUT "${font}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${PUMEX_FONT_DIR}"
    COMMAND $<TARGET_FILE:pumex> mkfont "${table}" -o "${font}"
    DEPENDS pumex "${table}"
    COMMENT "Building braille font ${font_name}.dp"
    VERBATIM)
  list(APPEND PUMEX_FONT_FILES "${font}")
endforeach()
add_custom_target(pumex_fonts ALL DEPENDS ${PUMEX_FONT_FILES})
if(TARGET default_root)
  add_dependencies(pumex_fonts default_root)
endif()

# The host's tests read the tables and load the built fonts; they are defined
# later in the configuration, so they are wired up once it is complete.
function(pumex_fonts_for_tests)
  if(NOT TARGET test_formats)
    return()
  endif()
  add_dependencies(test_formats pumex_fonts pumex)
  target_compile_definitions(test_formats PRIVATE
    PUMEX_FONT_TABLE_DIR="${PUMEX_FONT_TABLE_DIR}"
    PUMEX_FONT_DIR="${PUMEX_FONT_DIR}"
    PUMEX_BUNDLED_PRINTER="${CMAKE_SOURCE_DIR}/data/root/printers/Pumex Embosser.json"
    PUMEX_TOOL="$<TARGET_FILE:pumex>")
endfunction()
cmake_language(DEFER CALL pumex_fonts_for_tests)
