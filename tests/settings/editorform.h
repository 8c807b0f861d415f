#ifndef EDITORFORM_H
#define EDITORFORM_H

#include "ui_editsetting.h"

#include <QStringList>

// The option editor form both editors share, as one line: the page on show with its input ("*"
// before the current entry of a list), "(current/default)" as labelled, the codec's details on the
// codec page, then the buttons that can be pressed.
inline QString editorState(const Ui::EditSetting& e)
{
    const QWidget* page = e.stackEdit->isHidden() ? nullptr : e.stackEdit->currentWidget();
    QString input = "no input";
    if (page == e.pageInt) {
        input = QStringLiteral("int %1..%2 [%3..%4] = %5%6").arg(e.labelMinimumValue->text(), e.labelMaximumValue->text())
                    .arg(e.spinValue->minimum()).arg(e.spinValue->maximum()).arg(e.spinValue->value()).arg(e.spinValue->suffix());
    } else if (page == e.pageBool) {
        input = QStringLiteral("bool '%1' %2").arg(e.checkValue->text(), e.checkValue->isChecked() ? "on" : "off");
    } else if (page == e.pageString) {
        input = "string '" + e.lineValue->text() + "'";
    } else if (page) {
        const QComboBox* combo = page == e.pageCodec ? e.comboCodec : e.comboValue;
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << (i == combo->currentIndex() ? "*" : "") + combo->itemText(i) + "=" + combo->itemData(i).toString();
        input = (page == e.pageCodec ? "codec " : "select ") + items.join(", ");
    }
    const QString details = " [" + e.labelCodecDescription->text() + " " + e.labelCodecQuality->text() + " " + e.labelCodecDelay->text() + "]";
    return input + " (" + e.labelCurrentValue->text() + "/" + e.labelDefaultValue->text() + ")" + (page == e.pageCodec ? details : "")
           + (e.buttonSave->isEnabled() ? " save" : "") + (e.buttonDefault->isEnabled() ? " default" : "");
}

#endif
