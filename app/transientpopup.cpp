#include "transientpopup.h"

#include <QLabel>
#include <QTimer>

namespace {
constexpr int kWidth = 200;
constexpr int kBaseHeight = 100;
constexpr int kLeft = 220;
constexpr int kScreenHeight = 480;
constexpr int kShift = 65;
} // namespace

TransientPopup::TransientPopup(QWidget* parent)
    : QDialog(parent)
    , m_timer(new QTimer(this))
    , m_label(new QLabel(this))
{
    setWindowFlags((windowFlags() & ~Qt::WindowTitleHint) | Qt::FramelessWindowHint);
    setModal(true);

    QPalette pal = palette();
    pal.setColor(QPalette::Window, QColor(60, 60, 60, 200));
    pal.setColor(QPalette::WindowText, Qt::white);
    setPalette(pal);
    setAutoFillBackground(true);

    m_label->setWordWrap(true);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setFont(QFont(QStringLiteral("arial"), 14, QFont::Bold));

    m_timer->setSingleShot(true);
    connect(m_timer, &QTimer::timeout, this, &QDialog::accept);
    connect(this, &QDialog::finished, m_timer, &QTimer::stop);

    layout();
    hide();
}

void TransientPopup::showMessage(const QString& text, int timeoutMs, int extraHeight)
{
    m_extraHeight = extraHeight;
    layout();
    m_label->setText(text);
    show();
    if (timeoutMs != 0)
        m_timer->start(timeoutMs);
    else
        m_timer->stop();
}

void TransientPopup::setShifted(bool shifted)
{
    m_shifted = shifted;
    layout();
}

void TransientPopup::mousePressEvent(QMouseEvent*)
{
    if (!m_timer->isActive())
        accept();
}

void TransientPopup::layout()
{
    const int height = m_extraHeight + kBaseHeight;
    setGeometry(kLeft, (kScreenHeight - height) / 2 + (m_shifted ? kShift : 0), kWidth, height);
    m_label->setGeometry(0, 0, kWidth, height);
}
