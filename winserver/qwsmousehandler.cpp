#include "qwsmousehandler.h"

QWSMouseHandler::QWSMouseHandler(QObject* parent)
    : QObject(parent)
{
}

void QWSMouseHandler::calibrate(const QWSPointerCalibrationData*)
{
}

void QWSMouseHandler::clearCalibration()
{
}
