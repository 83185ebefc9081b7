// Everything that can be known to fail is told before the first frame.
#include "tools/ochrine-render/RenderPlan.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace {

/// "7, 9-12 and 14", at most so many pieces.
class NumberList {
  public:
    void Add(int64_t number)
    {
        if (number == end_ + 1 && begin_ >= 0) {
            end_ = number;
            return;
        }
        Flush();
        begin_ = end_ = number;
    }
    std::string Text()
    {
        Flush();
        return pieces_ > kPieces ? text_ + " and more" : text_;
    }
    bool IsEmpty() const { return begin_ < 0 && text_.empty(); }

  private:
    static constexpr int kPieces = 6;
    void Flush()
    {
        if (begin_ < 0) return;
        if (++pieces_ <= kPieces) {
            text_ += (text_.empty() ? "" : ", ") + std::to_string(begin_);
            if (end_ > begin_) text_ += "-" + std::to_string(end_);
        }
        begin_ = -1;
    }

    std::string text_;
    int64_t begin_ = -1, end_ = -1;
    int pieces_ = 0;
};

RenderExit SettleFrames(const RenderOptions& options, const RenderSource& source, RenderPlan* plan, int64_t* wanted,
                        std::string* error)
{
    const int64_t first = options.hasFirst ? options.first : source.First();
    const int64_t last = options.hasLast ? options.last : source.Last();
    if (last < source.First() || first > source.Last()) {
        *error = "the clip has frames " + std::to_string(source.First()) + " to " + std::to_string(source.Last());
        return renderBadFrame;
    }
    if (last - first >= 10'000'000) {
        *error = "more than 10,000,000 frames are wanted";
        return renderUsage;
    }
    *wanted = last - first + 1;
    plan->first = first + *wanted * (options.chunk - 1) / options.chunkCount;
    plan->last = first + *wanted * options.chunk / options.chunkCount - 1;
    if (options.badFrames != BadFrames::stop) return renderDone;
    NumberList missing;
    for (int64_t number = plan->first; number <= plan->last; ++number) {
        if (!source.Has(number)) missing.Add(number);
    }
    if (missing.IsEmpty()) return renderDone;
    const std::string list = missing.Text();
    *error = (list.find_first_of(",-") == std::string::npos ? "frame " + list + " is" : "frames " + list + " are") +
             " missing";
    return renderBadFrame;
}

RenderExit SettleFiles(const RenderOptions& options, int64_t wanted, RenderPlan* plan, std::string* error)
{
    plan->isMovie = options.format.file == OutputFile::movie;
    plan->path = options.output;
    if (plan->isMovie) return renderDone;
    plan->isNumbered = SequenceFromPattern(options.output, &plan->pattern);
    if (plan->isNumbered || wanted == 1) return renderDone;
    *error = std::to_string(wanted) + " frames want numbered files, such as out.%04d" + options.format.suffix;
    return renderUsage;
}

/// True when both names lead to one file.
bool IsSame(const std::string& one, const std::string& other)
{
    std::error_code ignored;
    return std::filesystem::equivalent(one, other, ignored);
}

} // namespace

bool RenderExists(const std::string& path)
{
    std::error_code error;
    return std::filesystem::is_regular_file(path, error) && std::filesystem::file_size(path, error) > 0 && !error;
}

RenderExit MakeRenderPlan(const RenderOptions& options, const RenderSource& source, RenderPlan* plan,
                          std::string* error)
{
    int64_t wanted = 0;
    if (RenderExit exit = SettleFrames(options, source, plan, &wanted, error); exit != renderDone) return exit;
    if (RenderExit exit = SettleFiles(options, wanted, plan, error); exit != renderDone) return exit;
    const std::string folder = std::filesystem::path(options.output).parent_path().string();
    if (access(folder.empty() ? "." : folder.c_str(), W_OK | X_OK) != 0) {
        *error = "cannot write into " + (folder.empty() ? "the current folder" : folder);
        return renderNoOutput;
    }
    for (int64_t number = plan->first; number <= plan->last; ++number) {
        const std::string file = plan->FileOf(number);
        const bool isOverSource = source.Has(number) && IsSame(file, source.FileOf(number));
        if (isOverSource || IsSame(file, options.grade)) {
            *error = "the output would replace " + file + ", which is being read";
            return renderNoOutput;
        }
        std::error_code ignored;
        if (std::filesystem::is_directory(file, ignored)) {
            *error = file + " is a folder";
            return renderNoOutput;
        }
        if (!plan->isNumbered) break; // one file for all
    }
    return renderDone;
}
