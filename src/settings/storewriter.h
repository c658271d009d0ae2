#pragma once

#include <QCoreApplication>
#include <functional>

class QSettings;

// Brings values into the application store and knows whether they got there. The library that keeps
// the store writes it some time later and tells nobody: on a disk that is nearly full it even
// replaces the whole store by the beginning of one and reports success. So room is made sure of
// first, and the store is written at once. Stateless.
class StoreWriter final
{
    Q_DECLARE_TR_FUNCTIONS(StoreWriter)

public:
    StoreWriter() = delete;

    // Runs `change`, which sets values in the store, and writes the store. False with a reason for
    // people (which names the file) when it cannot be written; without room for it `change` does
    // not run, and the store on disk stays whole.
    static bool write(QSettings& store, const std::function<void()>& change, QString& reason);
};
