#ifndef REMOTESTEST_H
#define REMOTESTEST_H

#include <QApplication>
#include <QKeySequence>
#include <QRegularExpression>
#include <QStringList>
#include <QTest>

#include <array>

// The rows of a data-driven test written as text: one case a line, "tag | cell | cell ...", a
// line indented deeper than the first going on with the case above.
inline void rows(const char* table)
{
    QStringList lines;
    int indent = -1;
    for (const QString& line : QString(table).split('\n')) {
        const int depth = line.indexOf(QRegularExpression("\\S"));
        if (depth < 0)
            continue;
        if (indent < 0)
            indent = depth;
        if (depth > indent && !lines.isEmpty())
            lines.last() += ' ' + line.trimmed();
        else
            lines << line.trimmed();
    }
    QTest::addColumn<QStringList>("cells");
    for (const QString& line : lines) {
        QStringList cells = line.split('|');
        QTest::newRow(qPrintable(cells.takeFirst().trimmed())) << cells;
    }
}

// The current row's cells, trimmed, with \n and \t as in C; missing ones are empty.
template <std::size_t N>
std::array<QString, N> cells()
{
    QFETCH(QStringList, cells);
    std::array<QString, N> out;
    for (std::size_t i = 0; i < N; ++i)
        out[i] = cells.value(int(i)).trimmed().replace("\\n", "\n").replace("\\t", "\t");
    return out;
}

// A key by its name: "Left", "Enter".
inline int keyNamed(const QString& name)
{
    return QKeySequence(name)[0];
}

// A keypad key pressed and released with focus on the screen's child of that name; the name of
// the widget with focus then.
template <typename Screen>
QString pressOn(Screen& screen, const QString& focus, const QString& key)
{
    screen.template findChild<QWidget*>(focus)->setFocus();
    screen.handleKey(keyNamed(key), true, false);
    screen.handleKey(keyNamed(key), false, false);
    QCoreApplication::processEvents();
    return QApplication::focusWidget()->objectName();
}

#endif
