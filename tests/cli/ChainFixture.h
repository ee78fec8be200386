#pragma once

#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace test {

/// The program with the real pack and the test pack, in a folder with an image of 5 x 3 x 2 pixels of 8 bits.
class ChainFixture : public testing::Test {
protected:
    ChainFixture() { WriteInput(251); }

    void WriteInput(int modulus) {
        std::vector<std::uint8_t> pixels;
        for (int i = 0; i < 30; ++i)
            pixels.push_back(static_cast<std::uint8_t>(i * i % modulus));
        engine::WriteImage(*ImageOf<std::uint8_t>(ORVEN::IMAGE_GREY_8, {5, 3, 2}, pixels),
                           folder / "in.nrrd");
    }

    /// Runs the program in the folder.
    [[nodiscard]] StEnd Run(std::vector<std::string> words, const std::string& environment = "") const {
        if (words.front() != "info")
            words.insert(words.end(), {"--pack", QUILLON_PACK, "--pack", QUILLON_TEST_PACK});
        return QuillonInShell("cd '" + folder / "" + "' && " + environment + " exec \"$@\"", words);
    }

    /// Runs a chain with these steps.
    [[nodiscard]] StEnd RunChain(const std::string& steps, std::vector<std::string> words = {}) const {
        std::ofstream(folder / "chain.json") << R"({"quillon": 1, "steps": [)" << steps << "]}";
        words.insert(words.begin(), {"chain", "chain.json"});
        return Run(words);
    }

    /// What the program says, with its times taken out.
    static std::string Timeless(std::string text) {
        for (auto begin = text.find("done in "); begin != std::string::npos;
             begin = text.find("done in ", begin + 1))
            text.replace(begin + 8, text.find('\n', begin) - begin - 8, "T");
        return text;
    }

    const CTestFolder folder;
};

} // namespace test
