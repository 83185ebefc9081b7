// ochrine-settings: the command line.
#include "tools/ochrine-settings/SettingsTool.h"

#include "src/BPXML2Support.h"
#include "src/OCVersion.h"

#include <clocale>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kHelp[] =
    R"(ochrine-settings looks into grades and carries them from one kind of file into another.

    ochrine-settings print GRADE            the grade as JSON, by the keys of its parameters
    ochrine-settings compare GRADE GRADE    the values that differ, one a line
    ochrine-settings validate GRADE         damage, and values that no control can give
    ochrine-settings upgrade OLD NEW        an older settings file in today's shape
    ochrine-settings convert GRADE OUT      another kind of file, by the name of OUT:
                                            .ocpreset, .cdl or .xml, .ocgrade

GRADE is a settings file (.ocpreset), an ASC Color Decision List (.cdl, .ccc, .xml) or a raw record (.ocgrade, clipboard);
what it is, its content tells. It is laid over a neutral grade.

  --clean     write ~ where a list would hold &tilde;, and read lists that hold it
  --strict    validate: warnings count as errors
  --words     compare: the words of the controls' state too
  --help, --version

Exit codes: 0 done, the same or sound; 1 different or damaged; 2 wrong command line; 3 a file cannot be read or holds
no grade; 4 a file cannot be written.
)";

struct Command {
    const char* name;
    size_t files;
    ToolExit (*run)(const ToolOptions& options);
};

constexpr Command kCommands[] = {
    {"print", 1, PrintGrade},     {"compare", 2, CompareGrades}, {"validate", 1, ValidateGrade},
    {"upgrade", 2, UpgradeGrade}, {"convert", 2, ConvertGrade},
};

ToolExit Usage(const std::string& text)
{
    Say("", text + "; --help tells more");
    return ToolExit::usage;
}

/// Takes the words apart; names of files are those that are no option, and all behind "--".
bool TakeOption(const char* word, ToolOptions* options)
{
    if (std::strcmp(word, "--clean") == 0) return options->clean = true;
    if (std::strcmp(word, "--strict") == 0) return options->strict = true;
    if (std::strcmp(word, "--words") == 0) return options->words = true;
    return false;
}

ToolExit Run(int argc, char** argv)
{
    ToolOptions options;
    const Command* command = nullptr;
    bool optionsOver = false;
    for (int i = 1; i < argc; ++i) {
        const char* word = argv[i];
        if (!optionsOver && word[0] == '-' && word[1] != 0) {
            if (std::strcmp(word, "--help") == 0) return fputs(kHelp, stdout) < 0 ? ToolExit::output : ToolExit::done;
            if (std::strcmp(word, "--version") == 0) {
                printf("ochrine-settings %s\n", kOCVersion);
                return ToolExit::done;
            }
            if (std::strcmp(word, "--") == 0) {
                optionsOver = true;
            } else if (!TakeOption(word, &options)) {
                return Usage(std::string("there is no option ") + word);
            }
            continue;
        }
        if (command != nullptr) {
            options.files.push_back(word);
            continue;
        }
        for (const Command& row : kCommands)
            if (std::strcmp(row.name, word) == 0) command = &row;
        if (command == nullptr) return Usage(std::string("there is no command ") + word);
    }
    if (command == nullptr) return Usage("a command is missing");
    if (options.files.size() != command->files)
        return Usage(std::string(command->name) + (command->files == 1 ? " takes one file" : " takes two files"));
    return command->run(options);
}

} // namespace

int main(int argc, char** argv)
{
    std::setlocale(LC_NUMERIC, "C");
    const ToolExit code = Run(argc, argv);
    BPXML2_CleanUp();
    return static_cast<int>(code);
}
