// The ydpath point-file reader: any text either reads into one polyline of finite points or
// nothing, or fails with an InputError naming the file and line; nothing else may escape.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "ReaderChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string name = "fuzz.xyz";
    std::istringstream in(text);
    try {
        const ydpath::InputProgram p = ydpath::ReadPointFile(in, name);
        FUZZ_CHECK(!p.gcode && p.pieces.size() <= 1 && p.rapids.empty(),
                   "point file read as %zu pieces", p.pieces.size());
        ydfuzz::CheckProgram(p, name, ydfuzz::LineCount(text));
    } catch (const ydpath::InputError& e) {
        ydfuzz::CheckError(e, name, ydfuzz::LineCount(text));
    }
    return 0;
}
