#pragma once

#include <QString>

namespace simdevice {

/// A symbolic link that gives a pseudo-terminal a name that stays the same from one run to the
/// next. Removed with its owner, unless somebody else has pointed it elsewhere in the meantime.
class StableLink final
{
    Q_DISABLE_COPY_MOVE(StableLink)

public:
    StableLink() = default;
    ~StableLink();

    /// Points `path` at `target`. A link that is already there is replaced; a file or folder of
    /// that name is left alone and is an error.
    bool set(const QString& path, const QString& target, QString* error);

    void remove();

private:
    QString m_path;
    QString m_target;
};

} // namespace simdevice
