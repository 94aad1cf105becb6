#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

// What a program left behind.
struct Outcome {
    int status = -1;  // exit status; 128 and more where a signal ended it
    std::string out;
    std::string err;
};

// A folder of its own for each test, gone afterwards, and the programs to run in it.
class ProgramTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    std::string Path(const std::string& name) const { return folder_ + "/" + name; }
    std::string Write(const std::string& name, const std::string& content) const;
    std::vector<std::string> FilesLeft() const;

    Outcome Run(const std::vector<std::string>& command) const;
    Outcome Tessera(std::vector<std::string> arguments) const;
    // Each of these expects the program to succeed.
    std::string Gearbox() const;
    nlohmann::json Info(const std::string& model) const;

private:
    std::string folder_;
};

// One triangle as a GLB file. `patch`, in JSON, is merged over its description, `points` and `corners` are its arrays.
std::string TriangleGlb();
std::string TriangleGlb(const nlohmann::json& patch, const std::vector<float>& points = {0, 0, 0, 1, 0, 0, 0, 1, 0},
                        const std::vector<unsigned short>& corners = {0, 1, 2});

// A binary STL file that declares `count` triangles and holds those that `points` has.
std::string BinaryStl(std::uint32_t count, const std::vector<float>& points);

// A unit cube as text, with a material of its own on each side: left and right (x = 0, 1), front and back (y), bottom
// and top (z). The materials are named side0 to side5.
std::string CubeObj(const std::string& materialFile);
