#pragma once

#include "app/interfacelanguage.h"

// The options of the program that belong to no pane.
struct GeneralOptions
{
    bool openLastConnection = true; // "OpenLastConnection" of the application store
    bool autoReconnect = false;     // "AutoReconnect" of the application store
    InterfaceLanguage::Choice language = InterfaceLanguage::Choice::System;

    friend bool operator==(const GeneralOptions&, const GeneralOptions&) = default;
};
