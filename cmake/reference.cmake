# Writes the pages of the class reference as one string literal: cmake -D PAGES=FILE;… -D OUTPUT=FILE -P reference.cmake
set(text "\n")
foreach(page IN LISTS PAGES)
  file(READ "${page}" content)
  string(APPEND text "${content}\n")
endforeach()
file(WRITE "${OUTPUT}" "R\"~~~(${text})~~~\"\n")
