// SPDX-License-Identifier: MIT
#include "platform/qt/dialogitems.h"

#include "platform/qt/qt_cstring.h"
#include "platform/qt/qt_displaytext.h"

#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace
{
constexpr int kWidthChars = 76;     // usual width of both controls, in average characters
constexpr int kMaxWidthChars = 100; // wider rows are wrapped
constexpr int kUsualLines = 16;     // height of a text that grows with the dialog, at first
constexpr int kChartLines = 5;
constexpr int kColumnGapChars = 3;
constexpr int kFrame = 1; // logical pixels of the line around the chart
} // namespace

RowsText::RowsText(QWidget* parent, int lines) : QPlainTextEdit(parent), m_lines(lines)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setUndoRedoEnabled(false);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setSizePolicy(QSizePolicy::Expanding, lines > 0 ? QSizePolicy::Fixed : QSizePolicy::Expanding);
}

void RowsText::SetRows(const std::vector<NamedText>& rows)
{
    QString text;
    int widest = 0;
    int widest_value = 0;
    for (const NamedText& row : rows) {
        const QString name = Showable(ToQString(row.name));
        widest = std::max(widest, fontMetrics().horizontalAdvance(name));
        if (!text.isEmpty())
            text += QLatin1Char('\n');
        const QString value = Showable(ToQString(row.value));
        widest_value = std::max(widest_value, fontMetrics().horizontalAdvance(value));
        text += name + QLatin1Char('\t') + value;
    }
    const int column = widest + fontMetrics().averageCharWidth() * kColumnGapChars;
    setTabStopDistance(column);
    setPlainText(text);
    m_rowWidth = column + widest_value;
    updateGeometry();
}

QSize RowsText::sizeHint() const
{
    const QFontMetrics metrics = fontMetrics();
    const int lines = m_lines > 0 ? m_lines : kUsualLines;
    const int border = 2 * (frameWidth() + static_cast<int>(std::ceil(document()->documentMargin())));
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    const int char_width = metrics.averageCharWidth();
    const int width = std::clamp(m_rowWidth + bar, char_width * kWidthChars, char_width * kMaxWidthChars);
    return {width + border, metrics.lineSpacing() * lines + border};
}

BarChart::BarChart(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void BarChart::SetBars(std::vector<ChartBar> bars)
{
    m_bars = std::move(bars);
    QStringList texts;
    for (const ChartBar& bar : m_bars)
        texts += ToQString(bar.text);
    setAccessibleDescription(texts.join(QLatin1String("; ")));
    update();
}

QSize BarChart::sizeHint() const
{
    return {fontMetrics().averageCharWidth() * kWidthChars, fontMetrics().lineSpacing() * kChartLines};
}

QRect BarChart::Area() const
{
    return rect().adjusted(kFrame, kFrame, -kFrame, -kFrame);
}

int BarChart::BarAt(int x) const
{
    const QRect area = Area();
    if (m_bars.empty() || x < area.left() || x > area.right())
        return -1;
    return static_cast<int>(int64_t{x - area.left()} * static_cast<int64_t>(m_bars.size()) / area.width());
}

bool BarChart::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* const help = static_cast<QHelpEvent*>(event);
    const int bar = BarAt(help->pos().x());
    if (bar < 0)
        QToolTip::hideText();
    else
        QToolTip::showText(help->globalPos(), ToQString(m_bars[static_cast<size_t>(bar)].text), this);
    return true;
}

void BarChart::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Mid));
    const QRect area = Area();
    painter.fillRect(area, palette().base());
    const auto count = static_cast<int>(m_bars.size());
    for (int i = 0; i < count; ++i) {
        const int left = area.left() + area.width() * i / count;
        const int right = area.left() + area.width() * (i + 1) / count;
        const double share = std::clamp(m_bars[static_cast<size_t>(i)].share, 0.0, 1.0);
        // A share above 0 is at least one pixel high.
        const int height = static_cast<int>(std::ceil(share * area.height()));
        painter.fillRect(left, area.bottom() + 1 - height, std::max(right - left - 1, 1), height,
                         palette().highlight());
    }
}
