#ifndef SCREENTEST_H
#define SCREENTEST_H

#include <QApplication>
#include <QKeySequence>
#include <QRegularExpression>
#include <QStringList>
#include <QTest>

#include <array>

// The cases of a data-driven test written as text, one a line: "tag | cell | cell ...", cut at
// `separator` and trimmed; a line indented deeper than the first goes on with the case above.
inline QList<QStringList> textCases(const char* table, const QString& separator)
{
    QList<QStringList> cases;
    int indent = -1;
    for (QString line : QString(table).split('\n')) {
        const int depth = line.indexOf(QRegularExpression("\\S"));
        if (depth < 0)
            continue;
        if (indent < 0)
            indent = depth;
        if (depth > indent && !cases.isEmpty())
            line = cases.takeLast().join(separator) + ' ' + line.trimmed();
        cases << (line + ' ').split(separator).replaceInStrings(QRegularExpression("^\\s+|\\s+$"), "");
    }
    return cases;
}

// The rows of a data-driven test, textCases() cut at "|", read back by cells().
inline void rows(const char* table)
{
    QTest::addColumn<QStringList>("cells");
    for (QStringList cells : textCases(table, "|"))
        QTest::newRow(qPrintable(cells.takeFirst())) << cells;
}

// The current row's cells, with \n and \t as in C; missing ones are empty.
template <std::size_t N>
std::array<QString, N> cells()
{
    QFETCH(QStringList, cells);
    std::array<QString, N> out;
    for (std::size_t i = 0; i < N; ++i)
        out[i] = cells.value(int(i)).replace("\\n", "\n").replace("\\t", "\t");
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
