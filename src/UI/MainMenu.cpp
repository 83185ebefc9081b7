// The rows of the menu bar.
#include "src/UI/MainMenu.h"

#include "src/support/TKCommands.h"

namespace {

constexpr TKMenuRow Menu(uint32_t depth, const char* title)
{
    return {depth, title, 0, 0};
}

constexpr TKMenuRow List(uint32_t depth, const char* title, uint32_t firstOfList)
{
    return {depth, title, 0, firstOfList};
}

constexpr TKMenuRow Item(uint32_t depth, uint32_t command)
{
    return {depth, nullptr, command, 0};
}

constexpr TKMenuRow kLine = {1, nullptr, 0, 0};

constexpr TKMenuRow kMenus[] = {
    Menu(0, "File"),
    Menu(1, "Export"),
    Item(2, 14105),
    Menu(2, "Settings to Autodesk 3D LUT"),
    Item(3, 14901),
    Item(3, 14902),
    Item(3, 14903),
    Item(3, 14904),
    Item(2, 14107),
    Item(2, 14108),
    Item(2, 14109),
    Item(2, 14110),
    Item(2, 14111),
    Item(2, 14112),
    Item(2, 14113),
    Item(2, 14114),
    kLine,
    Item(1, 59003),
    Menu(0, "Edit"),
    Item(1, 59004),
    Item(1, 59005),
    kLine,
    Item(1, 59006),
    Item(1, 59007),
    Item(1, 59008),
    Item(1, 59009),
    kLine,
    Item(1, 59014),
    Menu(0, "Settings"),
    Item(1, 13201),
    Item(1, 13202),
    Item(1, 13203),
    Item(1, 13204),
    Item(1, 13205),
    Item(1, 13206),
    Menu(0, "Clip"),
    Item(1, 13304),
    Menu(0, "View"),
    Item(1, 13101),
    Item(1, 13102),
    kLine,
    List(1, "Primary Preview LUT", 14501),
    List(1, "Secondary Preview LUT", 14601),
    List(1, "External Preview LUT", 14701),
    Menu(0, "Help"),
    Item(1, 13601),
    Item(1, 13602),
    Item(1, 59025),
};

} // namespace

std::span<const TKMenuRow> TKMenuRows()
{
    return kMenus;
}

const char* TKMenuText(const TKMenuRow& row)
{
    if (row.title) return row.title;
    const TKCommandRow* command = TKFindCommand(row.command);
    return command ? command->text : nullptr;
}

TKMenuColumns TKSplitMenuText(std::string_view text)
{
    // The key stands last and has no space in it. F1 is told by no text.
    const size_t space = text.rfind(' ');
    if (space == std::string_view::npos || text.find("Ctrl+", space) == std::string_view::npos) return {text, {}};
    const size_t end = text.find_last_not_of(' ', space);
    return {text.substr(0, end + 1), text.substr(space + 1)};
}
