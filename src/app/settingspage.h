#pragma once

#include <QLabel>
#include <QWidget>
#include <functional>
#include <vector>

class QFormLayout;
class QGroupBox;
class QLabel;

// A plain text that wraps and asks for the height that it has at its present width. A form asks a
// wrapping QLabel for a height before it has given it a width and leaves a gap below it.
class WrappedLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WrappedLabel)

public:
    explicit WrappedLabel(const QString& text, QWidget* parent = nullptr);
    ~WrappedLabel() override;

    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    // Pixels: below that a text would become a column of words, and what a page gives it at first.
    static constexpr int kLeastWidth = 160;
    static constexpr int kUsualWidth = 400;

    int m_width = kUsualWidth;
};

// What is wrong with a field, in a line right below it: an icon and a text, so that it is told by
// shape and words and not by colour alone. Can be copied with the mouse. Empty until told.
class FieldNote final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FieldNote)

public:
    explicit FieldNote(QWidget* parent = nullptr);
    ~FieldNote() override;

    void setText(const QString& text);
    [[nodiscard]] QString text() const;

private:
    QLabel* m_icon;
    WrappedLabel* m_text;
};

// What a person changed on a page, carried into a record. A page shows what its fields can show: a
// stored number outside a field's range, or a text with a line break, is shown as something else.
// Such a value must survive a dialog in which nobody touched it, so only what differs from what
// the page showed after loading is taken over.

// Each field for itself.
template<typename Record, typename... Values>
void takeEdits(
    Record& record, const Record& shown, const Record& edited, Values Record::*... fields)
{
    const auto take = [&](auto field) {
        if (shown.*field != edited.*field)
            record.*field = edited.*field;
    };
    (take(fields), ...);
}

// Fields that mean something only together, such as a limit and whether it holds: one edit takes
// all of them over as they are shown.
template<typename Record, typename... Values>
void takeEditsTogether(
    Record& record, const Record& shown, const Record& edited, Values Record::*... fields)
{
    if (((shown.*fields != edited.*fields) || ...))
        ((record.*fields = edited.*fields), ...);
}

// One page of a settings dialog: fields that edit a part of a record. A page shows a record
// (load), carries what was changed into a record (store; see takeEdits()) and says what is wrong
// at the field where it is wrong, while it is being typed. It decides nothing and opens nothing.
class SettingsPage : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SettingsPage)

public:
    explicit SettingsPage(QWidget* parent = nullptr);
    ~SettingsPage() override;

    // The first thing that keeps the page from being accepted, for people; empty when all is well.
    [[nodiscard]] const QString& problem() const { return m_problem; }
    // The field to put right, null when all is well.
    [[nodiscard]] QWidget* problemField() const { return m_problemField; }

    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    // Something on the page changed, by a person or by loading; problem() is up to date.
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

    using Check = std::function<QString()>; // what is wrong for people, or nothing

    // The form of a page: labels and fields on the 8 pixel grid.
    [[nodiscard]] QFormLayout* makeForm();
    // Makes a group of a pane's settings column the content of the page, without its frame and
    // title. Gives its form, so that what the page adds stands in line with it.
    QFormLayout* takePanel(QGroupBox& panel);
    // Adds a line to the tool tip of a field of the panel.
    void extendToolTip(QLatin1StringView field, const QString& line);
    // Every edit of a field below `root` runs the checks, while it is being typed.
    void watchFields(QWidget& root);
    // The tab key goes through the fields as they are read. To be called when all are there.
    void followWithTab();
    // A row below the field's row that tells what the check finds. What it finds keeps the page
    // from being accepted.
    void addCheck(QFormLayout* form, QWidget* field, Check check);
    // The same for a field that tells its fault by itself.
    void addUntoldCheck(QFormLayout* form, QWidget* field, Check check);
    // A row of explanation below the field's row.
    static QLabel* addHint(QFormLayout* form, const QString& text);
    // Runs the checks and tells: to be called after every edit and at the end of loading.
    void revalidate();

private:
    struct Rule
    {
        QFormLayout* form;
        QWidget* field;
        FieldNote* note;
        Check check;
    };

    std::vector<Rule> m_rules;
    QString m_problem;
    QWidget* m_problemField = nullptr;
};
