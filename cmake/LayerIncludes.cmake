# Checks at configure time that the sources of one layer include no header of a layer above it:
# the window layer (ui/) runs the application's commands through an interface it declares and the
# application installs, never by including app/. Every #include of the folder's .h and .cpp files
# is read, relative ones ("../app/...") too.
function(lvx_forbid_includes folder forbidden)
  file(GLOB_RECURSE files ${PROJECT_SOURCE_DIR}/${folder}/*.h ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
  set(pattern "^[ \t]*#[ \t]*include[ \t]*[<\"](\\.\\./)*${forbidden}/")
  set(found "")
  foreach(file IN LISTS files)
    file(STRINGS ${file} lines REGEX "${pattern}")
    file(RELATIVE_PATH name ${PROJECT_SOURCE_DIR} ${file})
    foreach(line IN LISTS lines)
      string(STRIP "${line}" line)
      string(APPEND found "\n  ${name}: ${line}")
    endforeach()
  endforeach()
  if(found)
    message(FATAL_ERROR
      "${folder}/ must not include anything from ${forbidden}/, which is the layer above it:"
      "${found}\n"
      "What ${folder}/ needs from ${forbidden}/ goes through an interface declared in ${folder}/ "
      "and installed by ${forbidden}/ (as ui/WindowCommands.h is).")
  endif()
endfunction()
