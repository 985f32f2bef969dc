# cmake -D FOLDER=PAGE_FOLDER -D OUTPUT=FILE.cpp -P page.cmake
#
# Makes the page of the timeline a source: its style and its script are put into it, and their hashes into its policy, so that
# a browser runs this script and no other, whatever the log holds.
cmake_minimum_required(VERSION 3.18)

# In base64, as a content security policy wants it.
function(base64_of_hex hex result)
    set(letters "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
    set(text "")
    # 32 bytes are ten times three and two.
    foreach(i RANGE 0 9)
        math(EXPR at "${i} * 6")
        string(SUBSTRING "${hex}" ${at} 6 digits)
        math(EXPR number "0x${digits}")
        foreach(shift 18 12 6 0)
            math(EXPR index "(${number} >> ${shift}) & 63")
            string(SUBSTRING "${letters}" ${index} 1 letter)
            string(APPEND text "${letter}")
        endforeach()
    endforeach()
    string(SUBSTRING "${hex}" 60 4 digits)
    math(EXPR number "0x${digits} << 2")
    foreach(shift 12 6 0)
        math(EXPR index "(${number} >> ${shift}) & 63")
        string(SUBSTRING "${letters}" ${index} 1 letter)
        string(APPEND text "${letter}")
    endforeach()
    set(${result} "${text}=" PARENT_SCOPE)
endfunction()

file(READ ${FOLDER}/timeline.html page)
foreach(part css js)
    file(READ ${FOLDER}/timeline.${part} text)
    string(SHA256 hash "${text}")
    base64_of_hex(${hash} hash)
    string(REPLACE "@${part}-hash@" "'sha256-${hash}'" page "${page}")
    string(REPLACE "@${part}@" "${text}" page "${page}")
endforeach()

string(FIND "${page}" "@data@" cut)
string(SUBSTRING "${page}" 0 ${cut} before)
math(EXPR cut "${cut} + 6")
string(SUBSTRING "${page}" ${cut} -1 after)
file(WRITE ${OUTPUT} "// Made from ${FOLDER} by cmake/page.cmake.
#include \"tools/ctl/timeline_parts.h\"

namespace ctl {

const char kPageBeforeData[] = R\"page(${before})page\";
const char kPageAfterData[] = R\"page(${after})page\";

}  // namespace ctl
")
