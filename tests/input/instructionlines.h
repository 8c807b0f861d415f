#ifndef INSTRUCTIONLINES_H
#define INSTRUCTIONLINES_H

#include <QImage>
#include <QString>

#include <utility>

// The calibration screens' three lines of instructions: "x" for each of the white, cyan and red
// lines (16 pixels high at 50, 270 and 300, `width` wide from x = 10) that shows its colour.
inline QString instructionLines(const QImage& image, int width)
{
    QString seen;
    for (const auto& [top, colour] : {std::pair(50, Qt::white), std::pair(270, Qt::cyan), std::pair(300, Qt::red)}) {
        bool found = false;
        for (int at = 0; at < width * 16 && !found; ++at)
            found = image.pixelColor(10 + at % width, top + at / width) == colour;
        seen += found ? 'x' : '.';
    }
    return seen;
}

#endif
