#pragma once

#include "tools/calcvalue.h"

#include <QCoreApplication>
#include <QStringView>

// An expression over integers and reals, as C writes them.
//
// Operators, loosest first: | ^ & (bits), << >>, + -, * / %, unary - + ~, ** (power). Numbers:
// decimal, 0x, 0b, 0o, reals with a point or an exponent, and characters in single quotes; an
// underscore may separate digits. Names: pi, e and the functions of functionNames(). Integers are
// worked out in `kind`; an operator with a real on either side works on reals, and the bit
// operators refuse reals. Division of integers cuts towards zero.
//
// Bounds: kLongestText characters and kDeepestNesting open brackets and signs; more is an error.
class Expression final
{
    Q_DECLARE_TR_FUNCTIONS(Expression)

public:
    static constexpr qsizetype kLongestText = 4096;
    static constexpr int kDeepestNesting = 200;

    struct Result
    {
        CalcValue value;
        bool ok = false;
        // An integer step did not fit the width and lost its upper bits.
        bool wrapped = false;
        QString error;                // for people; empty when ok
        qsizetype errorPosition = -1; // index in the text
    };

    Expression() = delete;

    [[nodiscard]] static Result evaluate(QStringView text, IntegerKind kind);
    [[nodiscard]] static QStringList functionNames();
};
