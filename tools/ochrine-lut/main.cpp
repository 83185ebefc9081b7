// ochrine-lut: bakes a grade into a table for another system, and tells how well the table does.
#include "src/BPXML2Support.h"
#include "src/OCGradeFile.h"
#include "src/OCVersion.h"
#include "src/platform/BPFiles.h"
#include "src/platform/BPLog.h"
#include "tools/ochrine-lut/LUTTool.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>

namespace {

constexpr char kHelp[] =
    R"(ochrine-lut bakes a grade into a 3D table for another system.

    ochrine-lut --target NAME GRADE OUT     write the table
    ochrine-lut --target NAME GRADE         only measure it
    ochrine-lut GRADE OUT.cube              --target cube; likewise OUT.clf
    ochrine-lut --list                      the targets

GRADE is a settings file (.ocpreset), an ASC Color Decision List (.cdl, .ccc, .xml) or a raw record (.ocgrade, clipboard);
what it is, its content tells. It is laid over a neutral grade.

  --target NAME    academy, lustre, flame, smoke, generic, cinetal, hdlink, luther, panavision, pogle, scratch,
                   truelight, autodesk-pre-3.0, cube, clf
  --points N       points an axis for cube and clf: 17, 33 (as it is), 65, or any from 2 to 129
  --max-error E    end with 1 when the largest difference (trilinear) is above E
  --json           the report as JSON
  --quiet          no report
  --help, --version

The report tells the difference between the pipeline and the table on a test picture, for the grade and for each of its
tools alone, and what no table can carry.

Exit codes: 0 done; 1 above --max-error (the table is written); 2 wrong command line; 3 the grade cannot be read;
4 the table cannot be written.
)";

struct EngineRelease {
    void operator()(OCEngine* engine) const { OCDisposeEngine(engine); }
};
using EnginePtr = std::unique_ptr<OCEngine, EngineRelease>;

void Say(const std::string& text)
{
    std::fprintf(stderr, "ochrine-lut: %s\n", text.c_str());
}

int ListTargets()
{
    for (const OCLUTTarget& target : OCLUTTargets())
        std::printf("%-18s .%-5s %2u points\n", target.name, target.extension, target.parameters.cubeIntervals + 1);
    return 0;
}

struct Baked {
    std::string text{};
    LUTTable table{};
    LUTPicture graded{};
};

/// False without memory.
bool Bake(OCEngine* engine, const OCSettings& grade, const LUTOptions& options, const OCLUTParameters& parameters,
          const LUTPicture& picture, Baked* baked)
{
    const char* const slash = std::strrchr(options.out.c_str(), '/');
    const OCLUTJob job = {.engine = engine,
                          .settings = &grade,
                          .taskCount = 1,
                          .tasks = nullptr,
                          .fileName = slash ? slash + 1 : options.out.c_str(),
                          .wallSeconds = static_cast<double>(std::time(nullptr))};
    if (options.target->write(job, parameters, &baked->text) != bpNoErr) return false;
    if (!LUTReadTable(baked->text, *options.target, parameters.cubeIntervals + 1, &baked->table)) return false;
    baked->graded = LUTThroughPipeline(engine, grade, picture);
    return !baked->graded.plane[0].empty();
}

LUTError ErrorOf(const Baked& baked, LUTInterpolation interpolation, const LUTOptions& options,
                 const LUTPicture& picture)
{
    return LUTMeasure(baked.table, interpolation, options.target->encoding, picture, baked.graded);
}

LUTExit Run(const LUTOptions& options)
{
    OCSettings grade = {};
    OCResetSettings(&grade, kOCResetAll, kOCResetAll, kOCResetDefaults); // no file of a grade holds video levels
    OCGradeKind kind;
    std::string error;
    if (OCLoadGradeFile(options.grade.c_str(), &grade, &kind, &error) != bpNoErr) {
        Say(error);
        return LUTExit::input;
    }

    std::error_code ignored;
    if (std::filesystem::equivalent(options.out, options.grade, ignored)) {
        Say("the table would replace " + options.out + ", which is being read");
        return LUTExit::output;
    }

    OCEngine* made = nullptr;
    if (OCCreateEngine(&made) != bpNoErr) {
        Say("there is not enough memory");
        return LUTExit::output;
    }
    const EnginePtr engine(made);
    OCLUTParameters parameters = options.target->parameters;
    if (options.points) parameters.cubeIntervals = options.points - 1;
    const LUTPicture picture = LUTTestPicture();
    Baked baked;
    if (!Bake(made, grade, options, parameters, picture, &baked)) {
        Say("there is not enough memory");
        return LUTExit::output;
    }
    if (!options.out.empty()) {
        if (const BPStatus err = BPWriteFile(options.out.c_str(), baked.text.data(), baked.text.size());
            err != bpNoErr) {
            Say(options.out + " cannot be written (error " + std::to_string(err) + ")");
            return LUTExit::output;
        }
    }

    LUTReport report = {.target = options.target,
                        .points = parameters.cubeIntervals + 1,
                        .out = options.out,
                        .trilinear = ErrorOf(baked, lutTrilinear, options, picture),
                        .tetrahedral = ErrorOf(baked, lutTetrahedral, options, picture),
                        .tools = {},
                        .warnings = LUTWarnings(grade)};
    if (!LUTIsFinite(baked.table, baked.graded))
        report.warnings.push_back("the grade makes values that are infinite or no numbers, and no table carries them");
    if (!options.quiet) {
        for (const LUTGradeTool& tool : LUTToolsOf(grade)) {
            Baked alone;
            if (!Bake(made, tool.alone, options, parameters, picture, &alone)) continue;
            report.tools.push_back({tool.name, tool.remark, ErrorOf(alone, lutTrilinear, options, picture)});
        }
        const std::string text = options.json ? LUTReportJson(report) : LUTReportText(report);
        if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) return LUTExit::output;
    }
    const bool inexact = options.maxError >= 0 && report.trilinear.max > options.maxError;
    return inexact ? LUTExit::inexact : LUTExit::done;
}

} // namespace

int main(int argc, char** argv)
{
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (std::strcmp(argv[i], "--help") == 0) return std::fputs(kHelp, stdout) < 0 ? 4 : 0;
        if (std::strcmp(argv[i], "--list") == 0) return ListTargets();
        if (std::strcmp(argv[i], "--version") == 0) return std::printf("ochrine-lut %s\n", kOCVersion) < 0 ? 4 : 0;
    }
    LUTOptions options;
    std::string error;
    if (!LUTParseOptions(argc, argv, &options, &error)) {
        Say(error + "; --help tells more");
        return static_cast<int>(LUTExit::usage);
    }
    BPSetLogSink([](void*, const char*, size_t) {}, nullptr); // the engine's log is for the application
    const LUTExit code = Run(options);
    BPXML2_CleanUp();
    return static_cast<int>(code);
}
