// The rows of the menu bar.
#include "src/UI/MainMenu.h"

namespace {

constexpr TKMenuRow kMenus[] = {
    {0, "File", nullptr, 0},
    {1, "Export", nullptr, 0},
    {2, "Settings to Academy 3D LUT...", nullptr, 14105},
    {2, "Settings to Autodesk 3D LUT", nullptr, 0},
    {3, "Lustre...", nullptr, 14901},
    {3, "Flame...", nullptr, 14902},
    {3, "Smoke...", nullptr, 14903},
    {3, "Generic .3dl...", nullptr, 14904},
    {2, "Settings to Cinetal 3D LUT...", nullptr, 14107},
    {2, "Settings to Ochrine Preview LUT...", nullptr, 14108},
    {2, "Settings to HDLink Pro 3D LUT...", nullptr, 14109},
    {2, "Settings to LUTher 3D LUT...", nullptr, 14110},
    {2, "Settings to Panavision GDP 3D LUT...", nullptr, 14111},
    {2, "Settings to Pogle 3D LUT...", nullptr, 14112},
    {2, "Settings to Scratch 3D LUT...", nullptr, 14113},
    {2, "Settings to Truelight 3D LUT...", nullptr, 14114},
    {1, nullptr, nullptr, 0},
    {1, "Exit", "Ctrl+Q", 59003},
    {0, "Edit", nullptr, 0},
    {1, "Undo", "Ctrl+Z", 59004},
    {1, "Redo", "Shift+Ctrl+Z", 59005},
    {1, nullptr, nullptr, 0},
    {1, "Cut", "Ctrl+X", 59006},
    {1, "Copy", "Ctrl+C", 59007},
    {1, "Paste", "Ctrl+V", 59008},
    {1, "Clear", nullptr, 59009},
    {1, nullptr, nullptr, 0},
    {1, "Preferences...", nullptr, 59014},
    {0, "Settings", nullptr, 0},
    {1, "Reset All", "Shift+Ctrl+Alt+R", 13201},
    {1, "Load Settings...", "Shift+Ctrl+Alt+L", 13202},
    {1, "Save Settings...", "Shift+Ctrl+Alt+S", 13203},
    {1, "Save User Preset...", "Shift+Ctrl+Alt+P", 13204},
    {1, "Load ASC CDL...", nullptr, 13205},
    {1, "Save ASC CDL...", nullptr, 13206},
    {0, "Clip", nullptr, 0},
    {1, "Save Reference Image", "Ctrl+Alt+R", 13304},
    {0, "View", nullptr, 0},
    {1, "Single", "Ctrl+1", 13101},
    {1, "Normal", "Ctrl+2", 13102},
    {0, "Help", nullptr, 0},
    {1, "View Ochrine User's Guide...", nullptr, 13601},
    {1, "View Ochrine Online Knowledge Base...", nullptr, 13602},
    {1, "About Ochrine...", nullptr, 59025},
};

} // namespace

std::span<const TKMenuRow> TKMenuRows()
{
    return kMenus;
}
