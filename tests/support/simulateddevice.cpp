#include "support/simulateddevice.h"

using namespace Qt::Literals::StringLiterals;

SimulatedDevice::SimulatedDevice(simdevice::Shell::Options options, QObject* parent)
    : QObject(parent)
    , m_options(options)
{
    plugBack();
}

SimulatedDevice::~SimulatedDevice() = default;

QString SimulatedDevice::portName() const
{
    return m_folder.filePath(u"device"_s);
}

void SimulatedDevice::unplug()
{
    m_device.reset();
}

bool SimulatedDevice::plugBack()
{
    m_error.clear();
    m_device = std::make_unique<simdevice::Device>(m_options);
    if (!m_device->start(portName(), &m_error)) {
        m_device.reset();
    }
    return isValid();
}
