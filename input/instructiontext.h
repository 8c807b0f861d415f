#ifndef INPUT_INSTRUCTIONTEXT_H
#define INPUT_INSTRUCTIONTEXT_H

#include <QPainter>

// The three lines the touch-screen dialogs show over their blue ground, `width` pixels wide: what
// to do (white), how it goes (cyan) and how to leave (red).
inline void drawInstructionText(QPainter& painter, int width, const QString& task, const QString& progress,
                                const QString& leave)
{
    painter.setPen(Qt::white);
    painter.setFont(QFont(QStringLiteral("arial"), 8, QFont::Normal));
    painter.drawText(QRect(10, 50, width, 16), Qt::AlignCenter, task);

    painter.setPen(Qt::cyan);
    painter.setFont(QFont(QStringLiteral("arial"), 10, QFont::Bold));
    painter.drawText(QRect(10, 270, width, 16), Qt::AlignCenter, progress);

    painter.setPen(Qt::red);
    painter.drawText(QRect(10, 300, width, 16), Qt::AlignCenter, leave);
}

#endif
