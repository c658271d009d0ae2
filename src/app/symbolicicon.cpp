#include "app/symbolicicon.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

using namespace Qt::Literals::StringLiterals;

namespace {

QColor shapeColor(QIcon::Mode mode)
{
    const QPalette palette = QGuiApplication::palette();
    switch (mode) {
    case QIcon::Disabled:
        return palette.color(QPalette::Disabled, QPalette::ButtonText);
    case QIcon::Selected:
        return palette.color(QPalette::Active, QPalette::HighlightedText);
    case QIcon::Normal:
    case QIcon::Active:
        break;
    }
    return palette.color(QPalette::Active, QPalette::ButtonText);
}

class SymbolicIconEngine final : public QIconEngine
{
public:
    explicit SymbolicIconEngine(QString path)
        : m_path(std::move(path))
    {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const QPaintDevice* device = painter->device();
        const qreal ratio = device != nullptr ? device->devicePixelRatioF() : 1.0;
        painter->drawPixmap(rect, pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state));
    }

    // `size` is in device pixels.
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State /*state*/) override
    {
        const QColor color = shapeColor(mode);
        const QString key = u"velmora/%1/%2x%3/%4"_s.arg(m_path)
                                .arg(size.width())
                                .arg(size.height())
                                .arg(color.rgba(), 8, 16, QLatin1Char('0'));
        QPixmap result;
        if (!QPixmapCache::find(key, &result)) {
            result = render(size, color);
            QPixmapCache::insert(key, result);
        }
        return result;
    }

    QPixmap scaledPixmap(
        const QSize& size, QIcon::Mode mode, QIcon::State state, qreal /*scale*/) override
    {
        return pixmap(size, mode, state);
    }

    [[nodiscard]] QIconEngine* clone() const override { return new SymbolicIconEngine(m_path); }
    [[nodiscard]] QString key() const override { return u"SymbolicIconEngine"_s; }

private:
    [[nodiscard]] QPixmap render(const QSize& size, const QColor& color) const
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        QSvgRenderer(m_path).render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(result.rect(), color);
        return result;
    }

    QString m_path;
};

} // namespace

QIcon symbolicIcon(const QString& svgPath)
{
    return QIcon(new SymbolicIconEngine(svgPath)); // the icon owns its engine
}
