# SPDX-License-Identifier: MIT

# Turns the sample program into a C++ source, so that the tool carries it wherever it goes.
# Run with -DINPUT=<sample.ngc> -DOUTPUT=<file.cpp>.
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hexLength)
math(EXPR size "${hexLength} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
# Break the byte list into lines of 32 bytes for readable compiler messages.
string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){32})" "\\1\n" bytes "${bytes}")
file(WRITE "${OUTPUT}.tmp"
"// Generated from sample/sample.ngc at build time; do not edit.
#include <string>

#include \"PathReader.h\"

namespace ydpath {
namespace {
const unsigned char kSample[${size} + 1] = {
${bytes}0x00};
}  // namespace

const std::string& BundledSampleText() {
    static const std::string text(reinterpret_cast<const char*>(kSample), ${size});
    return text;
}

const char* BundledSampleName() { return \"sample.ngc\"; }

}  // namespace ydpath
")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
