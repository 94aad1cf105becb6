#include "command_line.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "number_range.h"

namespace tessera::cli {

namespace {

constexpr int kDone = 0;
constexpr int kWrongUsage = 2;

void DeclareRender(CLI::App& command, CommandLine& line) {
    DeclareRenderOptions(command, line.render);
    command.add_option("-o,--output", line.render.output, "PNG file to write")->required()->option_text("OUT.png");
    command
        .add_option("--turntable", line.render.turntable,
                    "Write so many pictures of a whole turn about the vertical, OUT-000.png and on")
        ->check(CLI::Range(1, 10000).description(""))
        ->option_text("N");
    command.footer("Example: tessera render gearbox.glb -o gearbox.png --view front --mode smooth-edges");
}

void DeclarePick(CLI::App& command, CommandLine& line) {
    DeclarePickOptions(command, line.pick);
    command.footer("Example: tessera pick gearbox.glb --at 512,384 --what arc --json");
}

void DeclareSection(CLI::App& command, CommandLine& line) {
    command.add_option("MODEL", line.section.models, kModelFiles)->required()->option_text("...");
    command
        .add_option_function<std::string>(
            "--plane", [&](const std::string& s) { line.section.section = ParseSection("--plane", s); },
            "Plane by a point and a normal")
        ->required()
        ->option_text("PX,PY,PZ:NX,NY,NZ");
    command.add_flag("--json", line.json, "Print JSON");
    command.add_flag("-q,--quiet", line.section.talk.quiet, "Say nothing but errors on standard error");
    command.footer("Example: tessera section gearbox.glb --plane 0,0,0:0,1,0");
}

void DeclareMeasure(CLI::App& command, CommandLine& line) {
    command.add_option("MODEL", line.measure.picture.models, kModelFiles)->required()->option_text("...");
    command.add_option("--node", line.measure.path, "Path of the node to measure, as pick prints it")
        ->option_text("PATH");
    command
        .add_option("--precision", line.measure.precision,
                    "Fineness of the volume's grid [1]; the time grows with its square, above 1 fourfold")
        ->check(Between(0.001, 100.0))
        ->option_text("P");
    command
        .add_option_function<std::string>(
            "--plane", [&](const std::string& s) { line.measure.picture.section = ParseSection("--plane", s); },
            "Plane whose section's length is wanted too")
        ->option_text("PX,PY,PZ:NX,NY,NZ");
    command.add_flag("--json", line.measure.json, "Print JSON");
    command.add_flag("-q,--quiet", line.measure.picture.talk.quiet, "Say nothing but errors on standard error");
}

void DeclareConvert(CLI::App& command, CommandLine& line) {
    command.add_option("MODEL", line.convert.models, kModelFiles)->required()->option_text("...");
    command
        .add_option("-o,--output", line.convert.output,
                    "File to write: .3dg, .wrl (VRML), .u3d or .xml (lines of a section)")
        ->required()
        ->option_text("OUT");
    command.add_option("--vrml", line.convert.vrml, "Version of VRML, 1 or 2 [2]")
        ->check(CLI::IsMember({1, 2}).description(""))
        ->option_text("N");
    command
        .add_option_function<std::string>(
            "--plane", [&](const std::string& s) { line.convert.section = ParseSection("--plane", s); },
            "Plane of the section, in the frame of each part; its lines are written in that frame too")
        ->option_text("PX,PY,PZ:NX,NY,NZ");
    command
        .add_option_function<std::string>(
            "--views", [&](const std::string& s) { line.convert.views = ParseViews("--views", s); },
            "Views of a .u3d file, by name with commas between [iso]")
        ->option_text("VIEW,...");
    command.add_flag("--compress", line.convert.compress,
                     "Write meshes of a .u3d file quantised, to be shown while they load");
    command.add_flag("-q,--quiet", line.convert.talk.quiet, "Say nothing but errors on standard error");
    command.footer("Example: tessera convert gearbox.glb bolt.stl -o all.3dg");
}

void DeclareInfo(CLI::App& command, CommandLine& line) {
    command.add_option("MODEL", line.infoModel, "Model file: 3DG, U3D, STL, OBJ, PLY, OFF, glTF, GLB, 3DS or DAE")
        ->required()
        ->option_text(" ");
    command.add_flag("--json", line.json, "Print JSON");
    command.add_flag("-q,--quiet", line.infoTalk.quiet, "Say nothing but errors on standard error");
}

}  // namespace

std::optional<int> Parse(int argc, const char* const* argv, CommandLine& line, std::ostream& out, std::ostream& err) {
    CLI::App app("Shows and describes 3-D models of mechanical parts and assemblies.", "tessera");
    app.set_version_flag("--version", "tessera " TESSERA_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 the work failed, 2 wrong usage. \"tessera COMMAND --help\" tells more.");
    DeclareRender(*app.add_subcommand("render", "Draw models into a PNG file"), line);
    DeclarePick(*app.add_subcommand("pick", "Tell what is seen at a pixel of a picture"), line);
    DeclareSection(*app.add_subcommand("section", "Measure the lines in which a plane cuts models"), line);
    DeclareMeasure(*app.add_subcommand("measure", "Measure volume, area, centre of mass and more"), line);
    DeclareConvert(*app.add_subcommand("convert", "Write models to a 3DG, VRML, U3D or section file"), line);
    DeclareInfo(*app.add_subcommand("info", "Print a model's tree, parts, boxes and totals"), line);
    try {
        const auto isFirst = [argv](const CLI::App* command) { return command->get_name() == argv[1]; };
        if (argc > 1 && argv[1][0] != '-' && app.get_subcommands(isFirst).empty())
            throw CLI::ValidationError("there is no command \"" + std::string(argv[1]) + "\"");
        app.parse(argc, argv);
        line.command = app.get_subcommands().front()->get_name();
        if (line.command == "convert") OutputFormat(line.convert);
    } catch (const CLI::ParseError& error) {
        // Help and version come here too, with status 0.
        return app.exit(error, out, err) == 0 ? kDone : kWrongUsage;
    }
    return std::nullopt;
}

}  // namespace tessera::cli
