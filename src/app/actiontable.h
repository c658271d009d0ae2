#pragma once

#include <span>

// Menus in the order of the menu bar.
enum class MenuId : int { File, Connection, View, Tools, Cloud, Language, Help, Debug };

// Why an action can or cannot be triggered.
enum class Availability : int {
    Ready,
    Later,       // its function is not in this version
    NeedsSignIn, // it belongs to a cloud account
};

// One action of the main window. Texts are untranslated, context "MainWindow".
struct ActionRow
{
    const char* name = ""; // object name
    const char* label = "";
    MenuId menu = MenuId::File;
    const char* shortcut = "";
    const char* toolTip = ""; // empty: the label
    Availability availability = Availability::Ready;
    bool checkable = false;
    bool startsSection = false;  // a separator stands before it
    const char* icon = "";       // resource below ":/icons", empty for none
    const char* shortLabel = ""; // for the toolbar
};

struct MenuRow
{
    MenuId id;
    const char* title;
    const char* name; // object name
};

[[nodiscard]] std::span<const MenuRow> mainMenuRows();
// In the order in which they stand in their menus.
[[nodiscard]] std::span<const ActionRow> mainActionRows();
