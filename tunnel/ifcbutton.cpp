#include "ifcbutton.h"

#include "logger.h"

const std::array<QColor, 6> IFCButton::kPalette = {QColor(204, 0, 204), QColor(0, 0, 255),   QColor(0, 255, 0),
                                                   QColor(204, 204, 0), QColor(204, 119, 0), QColor(221, 0, 0)};

IFCButton::IFCButton(QWidget* parent, int position, const QString& name, const QString& first, const QString& second)
    : QPushButton(parent)
    , m_position(position)
    , m_name(name)
{
    resize(parent->width(), kHeight);
    setFlat(true);
    setEnabled(false);
    setFocusPolicy(Qt::NoFocus);
    setLabels(first, second, true);
    setPosition(position);
}

void IFCButton::setLabels(const QString& first, const QString& second, bool force)
{
    if (force || first != m_first || second != m_second) {
        m_first = first;
        m_second = second;
        if (!m_first.isEmpty() && !m_second.isEmpty())
            setText(QStringLiteral("(%1) %2>%3").arg(m_position).arg(m_first, m_second));
        else
            setText(QStringLiteral("Connection %1").arg(m_name));
    }
    g_log.log(LOG_DEBUG, "*** ifcbutton setlabels %s %s %d", qPrintable(m_first), qPrintable(m_second), m_position);
}

// Positions beyond the palette keep the default text colour rather than repeating a colour that
// already stands for another connection.
void IFCButton::setPosition(int position)
{
    const bool relabel = position != m_position;
    m_position = position;
    QPalette colours = parentWidget() ? parentWidget()->palette() : palette();
    if (position >= 0 && position < int(kPalette.size()))
        colours.setColor(QPalette::ButtonText, kPalette[std::size_t(position)]);
    setPalette(colours);
    move(x(), parentWidget()->height() - (height() + kGap) * (position + 1));
    if (relabel)
        setLabels(m_first, m_second, true);
}
