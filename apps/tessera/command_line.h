#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "commands.h"

namespace tessera::cli {

// What the program was called for: a command's name, and the options of that command.
struct CommandLine {
    std::string command;
    RenderOptions render, section;
    PickOptions pick;
    MeasureOptions measure;
    ConvertOptions convert;
    std::string infoModel;
    Talk infoTalk;
    bool json = false;
};

// Gives the exit status where there is nothing more to do: help was asked for, or the usage is wrong.
std::optional<int> Parse(int argc, const char* const* argv, CommandLine& line, std::ostream& out, std::ostream& err);

}  // namespace tessera::cli
