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

    // The record lines so far, with \n and \\ in output texts decoded.
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        std::ifstream in(path_, std::ios::binary);
        for (std::string line; std::getline(in, line);) lines.push_back(Decode(line));
        return lines;
    }

    // The texts of the output records since the file was started.
    std::vector<std::string> Texts() const
    {
        std::vector<std::string> texts;
        const std::string prefix = "output ";
        for (const std::string& line : Lines()) {
            if (line.compare(0, prefix.size(), prefix) != 0) continue;
            size_t text = line.find(' ', line.find(' ', prefix.size()) + 1) + 1;
            texts.push_back(line.substr(text));
        }
        return texts;
    }

private:
    static std::string Decode(const std::string& line)
    {
        std::string decoded;
        for (size_t i = 0; i < line.size(); ++i) {
            if (line[i] == '\\' && i + 1 < line.size()) {
                decoded += line[i + 1] == 'n' ? '\n' : line[i + 1];
                ++i;
            } else {
                decoded += line[i];
            }
        }
        return decoded;
    }

    std::string path_;
};

}  // namespace brell::test
