#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "commands.h"

namespace {

using tessera::cli::kModelFiles;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int Fail(const char* reason) {
    std::fprintf(stderr, "tessera: %s\n", reason);
    return kFailed;
}

int Run(int argc, char** argv) {
    tessera::cli::RenderOptions render, section;
    tessera::cli::PickOptions pick;
    tessera::cli::MeasureOptions measure;
    tessera::cli::Talk infoTalk;
    std::string infoModel;
    tessera::cli::ConvertOptions convert;
    bool json = false;

    CLI::App app("Shows and describes 3-D models of mechanical parts and assemblies.", "tessera");
    app.set_version_flag("--version", "tessera " TESSERA_VERSION);
    app.require_subcommand(1);
    app.footer("Exit status: 0 done, 1 the work failed, 2 wrong usage. \"tessera COMMAND --help\" tells more.");

    CLI::App* renderCommand = app.add_subcommand("render", "Draw models into a PNG file");
    tessera::cli::DeclareRenderOptions(*renderCommand, render);
    renderCommand->add_option("-o,--output", render.output, "PNG file to write")->required()->option_text("OUT.png");
    renderCommand->footer("Example: tessera render gearbox.glb -o gearbox.png --view front --mode smooth-edges");

    CLI::App* pickCommand = app.add_subcommand("pick", "Tell what is seen at a pixel of a picture");
    tessera::cli::DeclarePickOptions(*pickCommand, pick);
    pickCommand->footer("Example: tessera pick gearbox.glb --at 512,384 --what arc --json");

    CLI::App* sectionCommand = app.add_subcommand("section", "Measure the lines in which a plane cuts models");
    sectionCommand->add_option("MODEL", section.models, kModelFiles)->required()->option_text("...");
    sectionCommand
        ->add_option_function<std::string>(
            "--plane", [&](const std::string& s) { section.section = tessera::cli::ParseSection("--plane", s); },
            "Plane by a point and a normal")
        ->required()
        ->option_text("PX,PY,PZ:NX,NY,NZ");
    sectionCommand->add_flag("--json", json, "Print JSON");
    sectionCommand->add_flag("-q,--quiet", section.talk.quiet, "Say nothing but errors on standard error");
    sectionCommand->footer("Example: tessera section gearbox.glb --plane 0,0,0:0,1,0");

    CLI::App* measureCommand = app.add_subcommand("measure", "Measure volume, area, centre of mass and more");
    measureCommand->add_option("MODEL", measure.picture.models, kModelFiles)->required()->option_text("...");
    measureCommand->add_option("--node", measure.path, "Path of the node to measure, as pick prints it")
        ->option_text("PATH");
    measureCommand
        ->add_option("--precision", measure.precision,
                     "Fineness of the volume's grid [1]; the time grows with its square, above 1 fourfold")
        ->check(CLI::Range(0.001, 100.0).description(""))
        ->option_text("P");
    measureCommand
        ->add_option_function<std::string>(
            "--plane",
            [&](const std::string& s) { measure.picture.section = tessera::cli::ParseSection("--plane", s); },
            "Plane whose section's length is wanted too")
        ->option_text("PX,PY,PZ:NX,NY,NZ");
    measureCommand->add_flag("--json", measure.json, "Print JSON");
    measureCommand->add_flag("-q,--quiet", measure.picture.talk.quiet, "Say nothing but errors on standard error");

    CLI::App* convertCommand = app.add_subcommand("convert", "Write models to a 3DG, VRML or section file");
    convertCommand->add_option("MODEL", convert.models, kModelFiles)->required()->option_text("...");
    convertCommand
        ->add_option("-o,--output", convert.output, "File to write: .3dg, .wrl (VRML) or .xml (lines of a section)")
        ->required()
        ->option_text("OUT");
    convertCommand->add_option("--vrml", convert.vrml, "Version of VRML, 1 or 2 [2]")
        ->check(CLI::IsMember({1, 2}).description(""))
        ->option_text("N");
    convertCommand
        ->add_option_function<std::string>(
            "--plane", [&](const std::string& s) { convert.section = tessera::cli::ParseSection("--plane", s); },
            "Plane of the section, in the frame of each part; its lines are written in that frame too")
        ->option_text("PX,PY,PZ:NX,NY,NZ");
    convertCommand->add_flag("-q,--quiet", convert.talk.quiet, "Say nothing but errors on standard error");
    convertCommand->footer("Example: tessera convert gearbox.glb bolt.stl -o all.3dg");

    CLI::App* infoCommand = app.add_subcommand("info", "Print a model's tree, parts, boxes and totals");
    infoCommand->add_option("MODEL", infoModel, "Model file: 3DG, STL, OBJ, PLY, OFF, glTF, GLB, 3DS or DAE")
        ->required()
        ->option_text(" ");
    infoCommand->add_flag("--json", json, "Print JSON");
    infoCommand->add_flag("-q,--quiet", infoTalk.quiet, "Say nothing but errors on standard error");

    try {
        app.parse(argc, argv);
        if (convertCommand->parsed()) tessera::cli::OutputFormat(convert);
    } catch (const CLI::ParseError& error) {
        // Help and version come here too, with status 0.
        return app.exit(error) == 0 ? kDone : kWrongUsage;
    }
    if (renderCommand->parsed()) tessera::cli::Render(render);
    if (pickCommand->parsed()) tessera::cli::Pick(pick);
    if (sectionCommand->parsed()) tessera::cli::MeasureSection(section, json);
    if (measureCommand->parsed()) tessera::cli::MeasureModel(measure);
    if (convertCommand->parsed()) tessera::cli::Convert(convert);
    if (infoCommand->parsed()) tessera::cli::Info(infoModel, json, infoTalk);
    return std::fflush(stdout) == 0 ? kDone : Fail("standard output cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    } catch (const std::exception& error) {
        return Fail(error.what());
    }
}
