#pragma once

#include "connections/serialportcatalog.h"

inline SerialPortDescription listedPort(const QString& name, const QString& description = {})
{
    return {name, description, {}, {}, {}};
}

// A machine whose serial ports come and go as the test says.
class FakeCatalog final : public SerialPortCatalog
{
public:
    QList<SerialPortDescription> list;
    mutable int asked = 0;

    QList<SerialPortDescription> ports() const override
    {
        ++asked;
        return list;
    }
};
