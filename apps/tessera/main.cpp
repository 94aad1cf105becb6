#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "command_line.h"
#include "standard_streams.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;

int Fail(const char* reason) {
    std::fprintf(stderr, "tessera: %s\n", reason);
    return kFailed;
}

int Ended() { return tessera::host::IsOutputWritten() ? kDone : Fail("standard output cannot be written"); }

int Run(int argc, char** argv) {
    tessera::cli::CommandLine line;
    if (const std::optional<int> status = Parse(argc, argv, line, std::cout, std::cerr))
        return *status != kDone ? *status : Ended();
    if (line.command == "render") tessera::cli::Render(line.render);
    if (line.command == "pick") tessera::cli::Pick(line.pick);
    if (line.command == "section") tessera::cli::MeasureSection(line.section, line.json);
    if (line.command == "measure") tessera::cli::MeasureModel(line.measure);
    if (line.command == "convert") tessera::cli::Convert(line.convert);
    if (line.command == "info") tessera::cli::Info(line.infoModel, line.json, line.infoTalk);
    return Ended();
}

}  // namespace

int main(int argc, char** argv) {
    tessera::host::HoldStandardStreams();
    std::signal(SIGXFSZ, SIG_IGN);  // a file that grows too large is an error like others
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    } catch (const std::exception& error) {
        return Fail(error.what());
    }
}
