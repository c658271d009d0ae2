#pragma once

#include "settings/connectionmode.h"
#include "terminal/pane/elidedcombobox.h"

// The connection type of a pane. Offers the types that this program can open; a record of another
// type is shown by an entry of its own, which leaves with the next record.
class ModeBox final : public ElidedComboBox
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ModeBox)

public:
    explicit ModeBox(QWidget* parent = nullptr);
    ~ModeBox() override;

    void setMode(connectionMode mode);
    [[nodiscard]] connectionMode mode() const;

private:
    int m_offered = 0; // entries that are always there
};
