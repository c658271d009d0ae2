#pragma once

#include <QString>

// Where the application keeps its settings and where the vendor's web service lives.
class Config final
{
public:
    Config();

    [[nodiscard]] static QString organizationName();
    [[nodiscard]] static QString organizationDomain();
    [[nodiscard]] static QString applicationName();
    [[nodiscard]] static QString helpUrl();
    [[nodiscard]] static QString homepageUrl();

    // Base address of the web service: the environment variable "VMR_HOST" unless blank, else
    // "HostAddress" of the application store, else the vendor's own.
    [[nodiscard]] static QString dasHostAddress();
};
