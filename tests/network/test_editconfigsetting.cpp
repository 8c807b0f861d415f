#include "cachefeeder.h"
#include "editconfigsetting.h"
#include "editorform.h"
#include "logcapture.h"
#include "platformkey.h"
#include "tunneltree.h"

#include <QtTest>

using namespace cachefeeder;

namespace {
// Options as the network manager describes them; "mtu" has its default value, "dhcp" does not.
const QMap<QString, Message> kOptions{
    {"mtu", tunnelTree("option name=mtu type=int display_name=MTU descr=\"Largest packet\" value=1400 defaulted:b=false "
                       "default_value=1500 display_default=1500 min:i=576 max:i=9000 units=bytes")},
    {"dhcp", tunnelTree("option name=dhcp type=bool value=false defaulted:b=false default_value=true display_default=DHCP "
                        "label_true=DHCP label_false=Static")},
    {"roaming", tunnelTree("option name=roaming type=bool value=false defaulted:b=true default_value=false")},
    {"region", tunnelTree("option name=region type=select value=XX default_value=US {select name=\"United States\" value=US} "
                          "{select name=Europe value=EU}")},
    {"apn", tunnelTree("option name=apn type=string value=broadband default_value=")},
    {"cert", tunnelTree("option name=cert type=bulk value=x")}};
} // namespace

class TestEditConfigSetting : public QObject {
    Q_OBJECT

    // As the screen stack does it: the path, the editor on show, then the description arrives.
    void open(const QString& path)
    {
        RequestLog log;
        m_editor->setPath(path.toStdString());
        QCOMPARE(log.sent(), "cfgDescribe path=" + path);
        m_editor->paneAboutToShow();
        answer("configSetting", msg("resp", "", {kOptions.value(path.section('.', -1))}));
    }

    QString inputState() const
    {
        return m_editor->labelTitle->text() + "|" + m_editor->labelDescription->text() + "|" + editorState(*m_editor);
    }

    EditConfigSetting* m_editor = nullptr;

private slots:
    void init()
    {
        m_editor = new EditConfigSetting;
        QVERIFY(showActive(m_editor));
    }
    void cleanup() { delete m_editor; }

    // The form as the option opens (the page of the one before must not leak), then the edit and the request Save sends: to the object owning the option,
    // without a value when that is the default, and the done signal (Cancel sends nothing).
    void saveRequest_data()
    {
        table({"path", "opened", "edit", "sent"}, R"(
new value | netmgr.devices.eth0.mtu | MTU|Largest packet|int 576 bytes..9000 bytes [576..9000] = 1400 bytes (1400 bytes/1500) default | spinValue 2000 | cfgSetOption path=netmgr.devices.eth0 seq=saveOption {option name=mtu value=2000} done true
value equal to the default | netmgr.devices.eth0.mtu | MTU|Largest packet|int 576 bytes..9000 bytes [576..9000] = 1400 bytes (1400 bytes/1500) default | spinValue 1500 | cfgSetOption path=netmgr.devices.eth0 seq=saveOption {option name=mtu} done true
back to the value it had | netmgr.devices.eth0.mtu | MTU|Largest packet|int 576 bytes..9000 bytes [576..9000] = 1400 bytes (1400 bytes/1500) default | spinValue 1400 |
Default then Save | netmgr.devices.wlan0.studio.dhcp | ||bool 'DHCP' off (Static/DHCP) default | buttonDefault | cfgSetOption path=netmgr.devices.wlan0.studio seq=saveOption {option name=dhcp} done true
Default on a defaulted option | netmgr.devices.wwan0.roaming | ||bool 'Enabled' off (Not Enabled/) | buttonDefault |
switched to the default | netmgr.devices.eth0.dhcp | ||bool 'DHCP' off (Static/DHCP) default | checkValue | cfgSetOption path=netmgr.devices.eth0 seq=saveOption {option name=dhcp} done true
select | netmgr.devices.wlan0.region | ||select United States=US, Europe=EU (XX/) default | comboValue 1 | cfgSetOption path=netmgr.devices.wlan0 seq=saveOption {option name=region value=EU} done true
cleared text | netmgr.devices.wwan0.apn | ||string 'broadband' (broadband/) default | buttonStringClear | cfgSetOption path=netmgr.devices.wwan0 seq=saveOption {option name=apn} done true
bulk, shown only | netmgr.devices.wwan0.cert | ||no input (x/) default |  |
Right steps the number | netmgr.devices.eth0.mtu | MTU|Largest packet|int 576 bytes..9000 bytes [576..9000] = 1400 bytes (1400 bytes/1500) default | key Right | cfgSetOption path=netmgr.devices.eth0 seq=saveOption {option name=mtu value=1401} done true
Cancel stores nothing | netmgr.devices.eth0.mtu | MTU|Largest packet|int 576 bytes..9000 bytes [576..9000] = 1400 bytes (1400 bytes/1500) default | buttonCancel | done false
)");
    }

    void saveRequest()
    {
        const QString edit = cell("edit");
        const QString sent = cell("sent");
        open("netmgr.devices.wwan0.apn");
        open("netmgr.devices.wwan0.cert");
        open(cell("path"));
        QTEST(inputState(), "opened");
        // The input of the page takes the focus.
        if (!m_editor->stackEdit->isHidden())
            QCOMPARE(QApplication::focusWidget()->parentWidget(), m_editor->stackEdit->currentWidget());
        QSignalSpy done(m_editor, &EditConfigSetting::editConfigSettingDone);
        RequestLog log;
        const int value = edit.section(' ', 1).toInt();
        if (edit.startsWith("spinValue")) {
            m_editor->spinValue->setValue(value + 1);
            m_editor->spinValue->setValue(value);
        } else if (edit.startsWith("comboValue")) {
            m_editor->comboValue->setCurrentIndex(value);
        } else if (edit.startsWith("key")) {
            pressKeys(*m_editor, edit.section(' ', 1));
        } else if (!edit.isEmpty()) {
            m_editor->findChild<QAbstractButton*>(edit)->click();
        }
        QCOMPARE(m_editor->buttonSave->isEnabled(), sent.startsWith("cfgSetOption"));
        QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
        QString result = log.sent(true);
        for (const QList<QVariant>& signal : done)
            result += " done " + signal.value(0).toString();
        QCOMPARE(result.trimmed(), sent);
    }

    void ignoresWhatIsNotItsOwn()
    {
        LogCapture trace(LOG_DEBUG);
        open("netmgr.devices.eth0.mtu");
        answer("saveOption", Message("resp"));
        QVERIFY(trace.all().find("received config setting:") != std::string::npos);
        QVERIFY(trace.all().find("received save option:") != std::string::npos);
        answer("configSetting", msg("resp", "", {kOptions["dhcp"], kOptions["apn"]}));
        answer("configSetting", Message("resp"));
        // Hidden, the editor no longer follows descriptions meant for other screens.
        m_editor->paneAboutToHide();
        answer("configSetting", msg("resp", "", {kOptions["dhcp"]}));
        QCOMPARE(m_editor->stackEdit->currentWidget(), m_editor->pageInt);
    }
};

QTEST_MAIN(TestEditConfigSetting)
#include "test_editconfigsetting.moc"
