// The ydpath G-code reader: any text either reads into a well-formed program or fails with an
// InputError naming the file and line; nothing else may escape.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "ReaderChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string name = "fuzz.ngc";
    std::istringstream in(text);
    try {
        const ydpath::InputProgram p = ydpath::ReadGcode(in, name);
        FUZZ_CHECK(p.gcode && p.unit == "mm", "G-code program read as '%s'", p.unit.c_str());
        ydfuzz::CheckProgram(p, name, ydfuzz::LineCount(text));
    } catch (const ydpath::InputError& e) {
        ydfuzz::CheckError(e, name, ydfuzz::LineCount(text));
    }
    return 0;
}
