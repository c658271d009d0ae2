#pragma once

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
