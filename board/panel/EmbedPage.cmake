# SPDX-License-Identifier: Apache-2.0
# Writes PanelPage.cpp with the files of the page in it: cmake -DPAGE=FOLDER -DFILES=NAME,... -DOUTPUT=FILE -P EmbedPage.cmake
# Raw strings: the files stay readable in a debugger, and their text needs no escaping but to be free of the delimiter.

set(type.html "text/html; charset=utf-8")
set(type.css "text/css; charset=utf-8")
set(type.js "text/javascript; charset=utf-8")
string(REPLACE "," ";" names "${FILES}")
set(entries "")
foreach(name IN LISTS names)
  file(READ ${PAGE}/${name} content)
  if(content MATCHES "\\)page\"")
    message(FATAL_ERROR "${name} contains the end of the string that it is put into")
  endif()
  cmake_path(GET name EXTENSION LAST_ONLY ending)
  if(NOT DEFINED type${ending})
    message(FATAL_ERROR "${name}: what type is this? Add its ending to EmbedPage.cmake")
  endif()
  string(APPEND entries "        {\"${name}\", \"${type${ending}}\", R\"page(${content})page\"},\n")
endforeach()
file(WRITE ${OUTPUT} "// Made from board/panel/page by EmbedPage.cmake.
#include \"board/panel/PanelPage.h\"

namespace VelrixBoard {

const std::vector<PanelFile>& PanelFiles() {
    static const std::vector<PanelFile> files = {
${entries}    };
    return files;
}

} // namespace VelrixBoard
")
