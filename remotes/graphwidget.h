#ifndef GRAPHWIDGET_H
#define GRAPHWIDGET_H

#include "grapher.h"

#include <QColor>
#include <QPen>
#include <QString>
#include <QVector>
#include <QWidget>

class QPainter;

// A graph shown in a placeholder of a screen's form: it takes the placeholder's size, keeps
// 40 pixels on the right for its labels, and shows the history of one key at a time while the
// others keep filling. A subclass gives the styles of its shape lists and turns samples into
// shapes; painting draws each list in one batch (two fills for a rectangle list, one stroke for a
// polyline), rectangles first, then polylines.
class GraphWidget : public QWidget, public Grapher {
    Q_OBJECT
    Q_DISABLE_COPY(GraphWidget)

public:
    // Only stores the key; the screen repaints after each round of samples.
    void setKey(int key) { m_key = key; }
    int key() const { return m_key; }
    int plotWidth() const { return m_plotWidth; }
    int plotHeight() const { return m_plotHeight; }

    struct Labels {
        QString top;
        QString middle;
        QString bottom;
    };
    // What is written beside the plot for a range from min to max.
    virtual Labels labels(int min, int max) const = 0;

    // The grey of the plot's frame, its labels and its zero line.
    static QPen framePen();
    // Drops the inner points of level runs: a level run is one segment, which strokes the same
    // pixels at a fraction of the cost of a segment per column.
    static void dropLevelRuns(PointList& points);

protected:
    // Outlines are one pixel wide, whatever the pen's width.
    struct RectStyle {
        QColor fill;
        QPen outline;
    };

    GraphWidget(QWidget* placeholder, unsigned historyLength, unsigned seriesCount, QVector<RectStyle> rectStyles,
                QVector<QPen> lineStyles);

    // Sample number index covers the columns from columnLeft(index) to columnLeft(index) + width - 1.
    int columnLeft(unsigned index) const { return columnWidth() * static_cast<int>(index); }
    int columnWidth() const { return m_plotWidth / static_cast<int>(historyLength()); }
    // Appends the rows from top to bottom (inclusive) of sample index's column to list, unless they
    // enclose nothing; a bottom above top (a negative value) is turned the right way up.
    void addColumn(RectList& list, unsigned index, int top, int bottom) const;
    // The row of v on a scale from min (bottom) to max (top); 0 when the scale is flat.
    int scaledY(int v, int min, int max) const;
    // The row of v on a fixed scale from 0 (bottom) to full (top).
    int fixedY(int v, int full) const;
    // The sample's value number i, 0 when the sample is shorter.
    static int valueAt(const Sample& sample, size_t i) { return i < sample.size() ? sample[i] : 0; }

    // Drawn over the shapes, before the labels.
    virtual void paintOverlay(QPainter& painter, int min, int max) const;

    void paintEvent(QPaintEvent* event) override;

private:
    const QVector<RectStyle> m_rectStyles;
    const QVector<QPen> m_lineStyles;
    // Kept between paints so that a paint reuses their memory.
    QVector<RectList> m_rects;
    QVector<PointList> m_points;
    int m_key = 0;
    int m_plotWidth = 0;
    int m_plotHeight = 0;
};

#endif
