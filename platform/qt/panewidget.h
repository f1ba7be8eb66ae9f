// SPDX-License-Identifier: MIT
// The inside of a frame: a view and its scroll bars. Receives the size of the picture from CScrollView. Sends
// size and scroll messages to the view.
#pragma once

#include "platform/types.h"

#include <QScrollBar>
#include <QWidget>

class CView;
class ViewWidget;

// A scroll bar. Painting a whole bar costs as much as painting a small picture. So a new value repaints only
// the slider's old and new place. If the slider reaches or leaves an end of its range, the whole bar is
// repainted, because a style may draw the arrow there differently.
class PaneBar : public QScrollBar
{
public:
    using QScrollBar::QScrollBar;

protected:
    void sliderChange(SliderChange change) override;
    void paintEvent(QPaintEvent* event) override;

private:
    struct Look {
        QRect slider; // with the edge or shadow that a style may draw around it
        bool at_minimum = false, at_maximum = false;
    };
    [[nodiscard]] Look CurrentLook() const;

    Look m_painted;
};

// Shows a scroll bar for each axis in which the picture is larger than the view. Keeps the range and the
// position of both axes.
class PaneWidget : public QWidget
{
public:
    PaneWidget(CView* owner, QWidget* parent);

    [[nodiscard]] ViewWidget* View() const { return m_view; }
    void SetPicture(CSize total, CSize page, CSize line);
    [[nodiscard]] QRect Picture() const; // the whole picture in pixels of the view; empty if there is none
    [[nodiscard]] int Range(int bar) const { return m_range[bar]; }
    [[nodiscard]] int Position(int bar) const { return m_position[bar]; }
    void SetPosition(int bar, int position);
    void ShowPositions(); // sets the bars to the picture's positions
    void Relayout();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    bool Place(bool horizontal, bool vertical);
    void UpdateBar(int bar, int client);
    void UpdateBars();
    void BarMoved(int bar, int value);

    ViewWidget* m_view;
    PaneBar* m_bars[2]; // show a new position when the moved picture is shown
    CSize m_total;
    CSize m_page;
    CSize m_line{1, 1};
    int m_range[2] = {0, 0};
    int m_position[2] = {0, 0};
    bool m_inLayout = false;
    bool m_layoutAgain = false;
};
