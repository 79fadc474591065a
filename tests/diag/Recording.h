#pragma once

// Reads what the recording output library wrote (see RecordingScrivo.cpp).

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace brell::test {

class Recording {
public:
    // Starts a fresh record file and points the recording library at it.
    explicit Recording(const std::string& path) : path_(path)
    {
        std::remove(path_.c_str());
        setenv("SCRIVO_RECORD_FILE", path_.c_str(), 1);
    }
    ~Recording() { unsetenv("SCRIVO_RECORD_FILE"); }

    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        std::ifstream in(path_, std::ios::binary);
        for (std::string line; std::getline(in, line, '\0');) lines.push_back(line);
        return lines;
    }

    // The output records as "output <channel> <level> <text>".
    std::vector<std::string> Outputs() const
    {
        std::vector<std::string> outputs;
        for (const std::string& line : Lines())
            if (line.rfind("output ", 0) == 0) outputs.push_back(line);
        return outputs;
    }

    std::vector<std::string> Texts() const
    {
        std::vector<std::string> texts;
        for (const std::string& line : Outputs()) texts.push_back(line.substr(line.find(' ', line.find(' ', 7) + 1) + 1));
        return texts;
    }

private:
    std::string path_;
};

}  // namespace brell::test
