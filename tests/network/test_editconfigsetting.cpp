#include "editconfigsetting.h"
#include "editorform.h"
#include "keypress.h"
#include "logcapture.h"
#include "netfeeder.h"
#include "platformkey.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
using netfeeder::msg;
// Options as the network manager describes them; "mtu" has its default value, "dhcp" does not.
const Message kMtu = msg("option", "name=mtu type=int display_name=MTU descr=\"Largest packet\" value=1400 "
                                   "defaulted:b=false default_value=1500 display_default=1500 min:i=576 max:i=9000 units=bytes");
const Message kDhcp = msg("option", "name=dhcp type=bool value=false defaulted:b=false default_value=true "
                                    "display_default=DHCP label_true=DHCP label_false=Static");
const Message kRoaming = msg("option", "name=roaming type=bool value=false defaulted:b=true default_value=false");
const Message kRegion = msg("option", "name=region type=select value=XX default_value=US",
                            {msg("select", "name=\"United States\" value=US"), msg("select", "name=Europe value=EU")});
const Message kApn = msg("option", "name=apn type=string value=broadband default_value=");
const Message kCert = msg("option", "name=cert type=bulk value=x");
} // namespace

class TestEditConfigSetting : public QObject {
    Q_OBJECT

    // As the screen stack does it: the path, the editor on show, then the description arrives.
    void open(const std::string& path, const Message& option)
    {
        cachefeeder::RequestLog log;
        m_editor->setPath(path);
        QCOMPARE(log.lastTree(), Message("cfgDescribe", Params(("path=" + path).c_str())).dump_text());
        m_editor->paneAboutToShow();
        cachefeeder::answer("configSetting", msg("resp", "", {option}));
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

    // The request goes to the object owning the option; a defaulted option carries no value.
    void saveRequest_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Message>("option");
        QTest::addColumn<QString>("edit");
        QTest::addColumn<QString>("sent");

        QTest::newRow("new value") << "netmgr.devices.eth0.mtu" << kMtu << "spin 2000" << "netmgr.devices.eth0 mtu 2000";
        QTest::newRow("value equal to the default") << "netmgr.devices.eth0.mtu" << kMtu << "spin 1500" << "netmgr.devices.eth0 mtu";
        QTest::newRow("back to the value it had") << "netmgr.devices.eth0.mtu" << kMtu << "spin 1400" << "";
        QTest::newRow("Default then Save") << "netmgr.devices.wlan0.studio.dhcp" << kDhcp << "default" << "netmgr.devices.wlan0.studio dhcp";
        QTest::newRow("Default on a defaulted option") << "netmgr.devices.wwan0.roaming" << kRoaming << "default" << "";
        QTest::newRow("switched to the default") << "netmgr.devices.eth0.dhcp" << kDhcp << "check" << "netmgr.devices.eth0 dhcp";
        QTest::newRow("select") << "netmgr.devices.wlan0.region" << kRegion << "combo 1" << "netmgr.devices.wlan0 region EU";
        QTest::newRow("cleared text") << "netmgr.devices.wwan0.apn" << kApn << "clear" << "netmgr.devices.wwan0 apn";
        QTest::newRow("bulk, shown only") << "netmgr.devices.wwan0.cert" << kCert << "" << "";
        QTest::newRow("Right steps the number") << "netmgr.devices.eth0.mtu" << kMtu << "key" << "netmgr.devices.eth0 mtu 1401";
    }

    void saveRequest()
    {
        QFETCH(QString, path);
        QFETCH(Message, option);
        QFETCH(QString, edit);
        QFETCH(QString, sent);
        // As each option opens, "-" when it is at its default; the page of the one before must not leak.
        const QMap<std::string, QString> opened{
            {"mtu", "MTU|Largest packet|int 576 bytes..9000 bytes [576..9000] = 1400 bytes (1400 bytes/1500)"},
            {"dhcp", "||bool 'DHCP' off (Static/DHCP)"}, {"roaming", "||bool 'Enabled' off (Not Enabled/) -"},
            {"region", "||select United States=US, Europe=EU (XX/)"}, {"apn", "||string 'broadband' (broadband/)"},
            {"cert", "||no input (x/)"}};
        open("netmgr.devices.wwan0.apn", kApn);
        open("netmgr.devices.wwan0.cert", kCert);
        open(path.toStdString(), option);
        QCOMPARE(inputState() + (m_editor->buttonDefault->isEnabled() ? "" : " -"), opened.value(option.params().get_string("name", "")));
        QVERIFY(!m_editor->buttonSave->isEnabled());
        // The input of the page takes the focus.
        if (!m_editor->stackEdit->isHidden())
            QCOMPARE(QApplication::focusWidget()->parentWidget(), m_editor->stackEdit->currentWidget());
        const int value = edit.section(' ', 1).toInt();
        if (edit.startsWith("spin")) {
            m_editor->spinValue->setValue(value + 1);
            m_editor->spinValue->setValue(value);
        } else if (edit.startsWith("combo")) {
            m_editor->comboValue->setCurrentIndex(value);
        } else if (edit == "key") {
            pressKeys(*m_editor, "Right");
        } else if (!edit.isEmpty()) {
            const QMap<QString, QAbstractButton*> buttons{
                {"clear", m_editor->buttonStringClear}, {"check", m_editor->checkValue}, {"default", m_editor->buttonDefault}};
            buttons.value(edit)->click();
        }
        QCOMPARE(m_editor->buttonSave->isEnabled(), !sent.isEmpty());

        QSignalSpy done(m_editor, &EditConfigSetting::editConfigSettingDone);
        cachefeeder::RequestLog log;
        QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
        QStringList request;
        for (const Message& r : log.requests()) {
            QCOMPARE(r.name + " " + r.params().get_string("seq", ""), std::string("cfgSetOption saveOption"));
            const Params option = r.find_child("option") ? r.find_child("option")->params() : Params();
            request << QString::fromStdString(r.params().get_string("path", "") + " " + option.get_string("name", "")
                                              + (option.has_param("value") ? " " + option.get_string("value", "") : ""));
        }
        QCOMPARE(request.join(';'), sent);
        QCOMPARE(QList<QVariantList>(done), sent.isEmpty() ? QList<QVariantList>() : QList<QVariantList>{{true}});
    }

    void ignoresWhatIsNotItsOwn()
    {
        LogCapture trace(LOG_DEBUG);
        open("netmgr.devices.eth0.mtu", kMtu);
        cachefeeder::answer("saveOption", Message("resp"));
        QVERIFY(trace.all().find("received config setting:") != std::string::npos);
        QVERIFY(trace.all().find("received save option:") != std::string::npos);
        cachefeeder::answer("configSetting", msg("resp", "", {kDhcp, kApn}));
        cachefeeder::answer("configSetting", Message("resp"));
        // Hidden, the editor no longer follows descriptions meant for other screens.
        m_editor->paneAboutToHide();
        cachefeeder::answer("configSetting", msg("resp", "", {kDhcp}));
        QCOMPARE(m_editor->stackEdit->currentWidget(), m_editor->pageInt);

        QSignalSpy done(m_editor, &EditConfigSetting::editConfigSettingDone);
        cachefeeder::RequestLog log;
        QTest::mouseClick(m_editor->buttonCancel, Qt::LeftButton);
        QVERIFY(log.requests().empty());
        QCOMPARE(done.count(), 1);
        QCOMPARE(done.first().first().toBool(), false);
    }
};

QTEST_MAIN(TestEditConfigSetting)
#include "test_editconfigsetting.moc"
