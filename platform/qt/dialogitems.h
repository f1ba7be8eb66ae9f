// SPDX-License-Identifier: MIT
// The controls of dialogs that only show something: a text in rows and a bar chart. CDialog passes the rows
// and the bars to them.
#pragma once

#include "platform/dialog.h"

#include <QPlainTextEdit>
#include <QWidget>
#include <vector>

// Names and values in two columns. Long values are wrapped. The whole text can be selected and copied.
class RowsText : public QPlainTextEdit
{
public:
    // lines: the fixed height in lines; 0: the height grows with the dialog.
    RowsText(QWidget* parent, int lines);

    void SetRows(const std::vector<NamedText>& rows);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

private:
    int m_lines;
    int m_rowWidth = 0; // of the widest row, in pixels
};

class BarChart : public QWidget
{
public:
    explicit BarChart(QWidget* parent);

    void SetBars(std::vector<ChartBar> bars);
    [[nodiscard]] int BarAt(int x) const; // index of the bar at a horizontal position in the widget; -1: none
    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect Area() const;

    std::vector<ChartBar> m_bars;
};
