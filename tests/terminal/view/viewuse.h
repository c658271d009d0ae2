#pragma once

#include "terminal/view/receiveview.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QImage>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

// What a person does to the receive view, and what the person sees of it.

inline QString numberedLines(int from, int count)
{
    QString text;
    for (int i = from; i < from + count; ++i)
        text += QStringLiteral("line %1\n").arg(i);
    return text;
}

inline QAbstractScrollArea* areaOf(const ReceiveView& view)
{
    return view.findChild<QAbstractScrollArea*>();
}

inline void pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
{
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

inline void dragTo(const ReceiveView& view, QPoint point)
{
    QWidget* viewport = areaOf(view)->viewport();
    QMouseEvent move(QEvent::MouseMove, point, viewport->mapToGlobal(point), Qt::NoButton,
        Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(viewport, &move);
}

inline void turnWheel(const ReceiveView& view, int angle, Qt::KeyboardModifiers modifiers = {})
{
    const QPointF middle(100, 50);
    QWheelEvent wheel(middle, view.mapToGlobal(middle), {}, QPoint(0, angle), Qt::NoButton,
        modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(areaOf(view)->viewport(), &wheel);
}

// Pixels of the text's area that have that colour.
inline int inkOf(const ReceiveView& view, QRgb color)
{
    const QImage image = areaOf(view)->viewport()->grab().toImage();
    int pixels = 0;
    for (int i = 0; i < image.width() * image.height(); ++i)
        pixels += image.pixel(i % image.width(), i / image.width()) == color ? 1 : 0;
    return pixels;
}
