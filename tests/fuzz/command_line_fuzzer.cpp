// Arguments, one a line, are understood or refused.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "command_line.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream lines(std::string(data, data + size));
    std::vector<std::string> arguments = {"tessera"};
    for (std::string line; std::getline(lines, line);) arguments.push_back(line.substr(0, line.find('\0')));
    std::vector<const char*> argv;
    for (const std::string& argument : arguments) argv.push_back(argument.c_str());
    tessera::cli::CommandLine line;
    std::ostringstream out, err;
    const auto status = tessera::cli::Parse(static_cast<int>(argv.size()), argv.data(), line, out, err);
    if (!status && line.command.empty()) std::abort();
    if (status && *status != 0 && err.str().empty()) std::abort();
    return 0;
}
