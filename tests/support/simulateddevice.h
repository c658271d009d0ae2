#pragma once

#include "simdevice/device.h"

#include <QTemporaryDir>
#include <memory>

/// The bench device of tools/simdevice inside the test's own process and event loop. Its sensor is
/// silent unless asked for, so that the only bytes on the line are the boot banner and answers.
class SimulatedDevice final
{
    Q_DISABLE_COPY_MOVE(SimulatedDevice)

public:
    static constexpr simdevice::Shell::Options kQuiet{false, 200};

    explicit SimulatedDevice(simdevice::Shell::Options options = kQuiet)
        : m_options(options)
    {
        plugBack();
    }
    ~SimulatedDevice() = default;

    bool isValid() const { return m_device != nullptr; }
    QString errorString() const { return m_error; }

    /// The name to open. It stays the same over unplug() and plugBack().
    QString portName() const { return m_folder.filePath(QStringLiteral("device")); }

    /// The device vanishes: an open port gets an error, and the name is gone.
    void unplug() { m_device.reset(); }

    /// The device boots anew under the old name.
    bool plugBack()
    {
        m_device = std::make_unique<simdevice::Device>(m_options);
        if (!m_device->start(portName(), &m_error)) {
            m_device.reset();
        }
        return isValid();
    }

private:
    QTemporaryDir m_folder;
    const simdevice::Shell::Options m_options;
    std::unique_ptr<simdevice::Device> m_device;
    QString m_error;
};
