#include "tests/LUTs/LUTTest.h"

#include <cstdlib>
#include <ctime>
#include <sstream>

Bake::Bake(const OCSettings& grade, const char* fileName)
    : engine_(MakeEngine()), grade_(grade), source_(MakeFrame(4, 1)), result_(MakeFrame(4, 1))
{
    setenv("TZ", "UTC0", 1);
    tzset();
    job = {.engine = engine_.get(),
           .settings = &grade_,
           .taskCount = 1,
           .tasks = nullptr,
           .fileName = fileName,
           .wallSeconds = kTestWallSeconds};
}

std::string Bake::Write(const OCLUTTarget& target)
{
    LogCatch quiet;
    std::string text = "left over";
    EXPECT_EQ(target.write(job, target.parameters, &text), bpNoErr);
    return text;
}

std::string Bake::Write(const char* name)
{
    return Write(*OCLUTTargetOfName(name));
}

void Bake::Grade(const float in[3], float out[3])
{
    for (uint32_t plane = 0; plane < 3; ++plane) At(*source_, plane, 0, 0) = in[plane];
    OCUpdateParameters(engine_.get(), &grade_);
    OCProcessImageBand(engine_.get(), source_.get(), result_.get(), &grade_, 0, 0);
    for (uint32_t plane = 0; plane < 3; ++plane) out[plane] = At(*result_, plane, 0, 0);
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

std::vector<std::vector<double>> Rows(const std::string& text, size_t columns)
{
    std::vector<std::vector<double>> rows;
    for (const std::string& line : Lines(text)) {
        std::vector<double> numbers;
        const char* at = line.c_str();
        for (char* end = nullptr; *at; at = end) {
            numbers.push_back(std::strtod(at, &end));
            if (end == at) break;
        }
        if (*at == 0 && numbers.size() == columns) rows.push_back(numbers);
    }
    return rows;
}

OCSettings WarmGrade()
{
    OCSettings grade = NeutralGrade();
    grade.rgbOn = 1;
    grade.rgb.master.on = 1;
    grade.rgb.master.channel[0] = {.gain = 0.9f, .gamma = 1.2f, .pedestal = 0.05f};
    grade.rgb.master.channel[1] = {.gain = 0.8f, .gamma = 1.0f, .pedestal = 0.02f};
    grade.rgb.master.channel[2] = {.gain = 0.7f, .gamma = 0.9f, .pedestal = 0.0f};
    grade.primaryOn = 1;
    grade.hslOn = 1;
    grade.hsl.master.on = 1;
    grade.hsl.master.saturation = 80;
    return grade;
}
