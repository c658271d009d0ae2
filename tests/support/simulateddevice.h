#pragma once

#include "simdevice/device.h"

#include <QObject>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// The bench device of tools/simdevice inside the test's own process and event loop, under a name
/// that stays the same over unplug() and plugBack(). Its sensor is silent unless asked for, so that
/// the only bytes on the line are the boot banner and answers.
class SimulatedDevice final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SimulatedDevice)

public:
    static constexpr simdevice::Shell::Options quiet{false, 200};

    explicit SimulatedDevice(simdevice::Shell::Options options = quiet, QObject* parent = nullptr);
    ~SimulatedDevice() override;

    bool isValid() const { return m_device != nullptr; }
    QString errorString() const { return m_error; }

    /// The name to open, also while unplugged.
    QString portName() const;

    /// The device vanishes: an open port gets an error, and the name is gone.
    void unplug();

    /// The device boots anew under the old name.
    bool plugBack();

private:
    QTemporaryDir m_folder;
    const simdevice::Shell::Options m_options;
    std::unique_ptr<simdevice::Device> m_device;
    QString m_error;
};
