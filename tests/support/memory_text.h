// A text file writer into memory, as the twin of ReadTextFrom.
#pragma once

#include <string>
#include <string_view>

#include "foundation/textfile.h"

namespace OrvaneTest {

class MemoryTextWriter : public Tesslib::TextFileWriter {
public:
    bool Write(std::string_view more) override {
        text += more;
        return true;
    }
    bool Flush() override { return true; }
    bool Close(bool /*to_disk*/) override { return true; }

    std::string text;
};

}  // namespace OrvaneTest
