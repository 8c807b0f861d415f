#include "cachefeeder.h"
#include "editconfigsetting.h"
#include "platformkey.h"

#include <QSignalSpy>
#include <QtTest>

namespace {
// Options as the network manager describes them; "mtu" has its default value, "dhcp" does not.
const char* const kMtu = R"(<m n="option"><s k="name">mtu</s><s k="type">int</s><s k="display_name">MTU</s>
    <s k="value">1400</s><b k="defaulted">false</b><s k="default_value">1500</s><s k="display_default">1500</s>
    <i k="min">576</i><i k="max">9000</i><s k="units">bytes</s></m>)";
const char* const kDhcp = R"(<m n="option"><s k="name">dhcp</s><s k="type">bool</s><s k="value">false</s>
    <b k="defaulted">false</b><s k="default_value">true</s><s k="display_default">DHCP</s>
    <s k="label_true">DHCP</s><s k="label_false">Static</s></m>)";
const char* const kRoaming = R"(<m n="option"><s k="name">roaming</s><s k="type">bool</s><s k="value">false</s>
    <b k="defaulted">true</b><s k="default_value">false</s></m>)";
const char* const kRegion = R"(<m n="option"><s k="name">region</s><s k="type">select</s><s k="value">XX</s>
    <s k="default_value">US</s><m n="select"><s k="name">United States</s><s k="value">US</s></m>
    <m n="select"><s k="name">Europe</s><s k="value">EU</s></m></m>)";
const char* const kApn = R"(<m n="option"><s k="name">apn</s><s k="type">string</s><s k="value">broadband</s>
    <s k="default_value"></s></m>)";
const char* const kCert = R"(<m n="option"><s k="name">cert</s><s k="type">bulk</s><s k="value">x</s></m>)";

Message answerWith(const char* option)
{
    Message answer("resp");
    answer.add_child(cachefeeder::parse(option));
    return answer;
}
} // namespace

class TestEditConfigSetting : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup() { delete m_editor; }
    void pageOfEachType_data();
    void pageOfEachType();
    void saveRequest_data();
    void saveRequest();
    void answerWithoutOneOptionIsIgnored();
    void keypadEditsTheValue();

private:
    // As the screen stack does it: the path, the editor on show, then the description arrives.
    void open(const std::string& path, const char* option);
    QString inputState() const;

    EditConfigSetting* m_editor = nullptr;
};

void TestEditConfigSetting::init()
{
    m_editor = new EditConfigSetting;
    QVERIFY(showActive(m_editor));
}

void TestEditConfigSetting::open(const std::string& path, const char* option)
{
    cachefeeder::RequestLog log;
    m_editor->setPath(path);
    QCOMPARE(log.lastTree(), Message("cfgDescribe", Params(("path=" + path).c_str())).dump_text());
    m_editor->paneAboutToShow();
    cachefeeder::answer("configSetting", answerWith(option));
}

QString TestEditConfigSetting::inputState() const
{
    const QWidget* page = m_editor->stackEdit->currentWidget();
    QString state = m_editor->labelCurrentValue->text() + " / " + m_editor->labelDefaultValue->text() + ": ";
    if (m_editor->stackEdit->isHidden())
        return state + "no input";
    if (page == m_editor->pageInt)
        return state + QStringLiteral("int %1..%2 = %3%4").arg(m_editor->spinValue->minimum())
            .arg(m_editor->spinValue->maximum()).arg(m_editor->spinValue->value()).arg(m_editor->spinValue->suffix());
    if (page == m_editor->pageBool)
        return state + QStringLiteral("bool '%1' %2").arg(m_editor->checkValue->text(),
                                                          m_editor->checkValue->isChecked() ? "on" : "off");
    if (page == m_editor->pageString)
        return state + "string " + m_editor->lineValue->text();
    QStringList items;
    for (int i = 0; i < m_editor->comboValue->count(); ++i)
        items << (i == m_editor->comboValue->currentIndex() ? "*" : "") + m_editor->comboValue->itemText(i);
    return state + "select " + items.join(", ");
}

void TestEditConfigSetting::pageOfEachType_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("input");
    QTest::addColumn<bool>("defaultEnabled");

    QTest::newRow("int with units") << kMtu << "1400 bytes / 1500: int 576..9000 = 1400 bytes" << true;
    QTest::newRow("bool with labels") << kDhcp << "Static / DHCP: bool 'DHCP' off" << true;
    QTest::newRow("bool without labels, defaulted") << kRoaming << "Not Enabled / : bool 'Enabled' off" << false;
    QTest::newRow("select, value matches no choice") << kRegion << "XX / : select United States, Europe" << true;
    QTest::newRow("string") << kApn << "broadband / : string broadband" << true;
    // A bulk option is shown, not edited: the previous option's page must not take its value.
    QTest::newRow("bulk") << kCert << "x / : no input" << true;
    QTest::newRow("string after bulk") << kApn << "broadband / : string broadband" << true;
}

void TestEditConfigSetting::pageOfEachType()
{
    QFETCH(QString, option);
    open("netmgr.devices.wwan0.apn", kApn);
    open("netmgr.devices.wwan0.cert", kCert);
    open("netmgr.devices.eth0.x", option.toUtf8().constData());
    QTEST(inputState(), "input");
    QTEST(m_editor->buttonDefault->isEnabled(), "defaultEnabled");
    QVERIFY(!m_editor->buttonSave->isEnabled());
    // The input of the page takes the focus.
    const QWidget* page = m_editor->stackEdit->isHidden() ? nullptr : m_editor->stackEdit->currentWidget();
    if (page)
        QCOMPARE(QApplication::focusWidget()->parentWidget(), page);
}

// The request goes to the object owning the option; a defaulted option carries no value.
void TestEditConfigSetting::saveRequest_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("edit");
    QTest::addColumn<bool>("saveEnabled");
    QTest::addColumn<QString>("request");

    const QString mtuPath = "netmgr.devices.eth0.mtu";
    QTest::newRow("new value") << mtuPath << kMtu << "spin 2000" << true
        << R"(<m n="cfgSetOption"><s k="path">netmgr.devices.eth0</s><m n="option"><s k="name">mtu</s><s k="value">2000</s></m></m>)";
    QTest::newRow("value equal to the default") << mtuPath << kMtu << "spin 1500" << true
        << R"(<m n="cfgSetOption"><s k="path">netmgr.devices.eth0</s><m n="option"><s k="name">mtu</s></m></m>)";
    QTest::newRow("Default then Save") << "netmgr.devices.wlan0.studio.dhcp" << kDhcp << "default" << true
        << R"(<m n="cfgSetOption"><s k="path">netmgr.devices.wlan0.studio</s><m n="option"><s k="name">dhcp</s></m></m>)";
    QTest::newRow("Default on a defaulted option") << "netmgr.devices.wwan0.roaming" << kRoaming << "default" << false << "";
    QTest::newRow("select") << "netmgr.devices.wlan0.region" << kRegion << "combo 1" << true
        << R"(<m n="cfgSetOption"><s k="path">netmgr.devices.wlan0</s><m n="option"><s k="name">region</s><s k="value">EU</s></m></m>)";
    QTest::newRow("cleared text") << "netmgr.devices.wwan0.apn" << kApn << "clear" << true
        << R"(<m n="cfgSetOption"><s k="path">netmgr.devices.wwan0</s><m n="option"><s k="name">apn</s></m></m>)";
}

void TestEditConfigSetting::saveRequest()
{
    QFETCH(QString, path);
    QFETCH(QString, option);
    QFETCH(QString, edit);
    QFETCH(QString, request);
    open(path.toStdString(), option.toUtf8().constData());

    const QString value = edit.section(' ', 1);
    if (edit.startsWith("spin"))
        m_editor->spinValue->setValue(value.toInt());
    else if (edit.startsWith("combo"))
        m_editor->comboValue->setCurrentIndex(value.toInt());
    else if (edit == "clear")
        QTest::mouseClick(m_editor->buttonStringClear, Qt::LeftButton);
    else
        QTest::mouseClick(m_editor->buttonDefault, Qt::LeftButton);
    QTEST(m_editor->buttonSave->isEnabled(), "saveEnabled");

    QSignalSpy done(m_editor, &EditConfigSetting::editConfigSettingDone);
    cachefeeder::RequestLog log;
    QTest::mouseClick(m_editor->buttonSave, Qt::LeftButton);
    if (request.isEmpty()) {
        QVERIFY(log.requests().empty());
        return;
    }
    QCOMPARE(log.requests().size(), std::size_t(1));
    QCOMPARE(QString::fromStdString(log.requests().back().params().get_string("seq", "")), QString("saveOption"));
    QCOMPARE(log.lastTree(), cachefeeder::tree(request.toStdString()));
    QCOMPARE(done.count(), 1);
    QCOMPARE(done.first().first().toBool(), true);
}

void TestEditConfigSetting::answerWithoutOneOptionIsIgnored()
{
    open("netmgr.devices.eth0.mtu", kMtu);
    Message two("resp");
    two.add_child(cachefeeder::parse(kDhcp));
    two.add_child(cachefeeder::parse(kApn));
    cachefeeder::answer("configSetting", two);
    cachefeeder::answer("configSetting", Message("resp"));
    QCOMPARE(m_editor->stackEdit->currentWidget(), m_editor->pageInt);

    // Hidden, the editor no longer follows descriptions meant for other screens.
    m_editor->paneAboutToHide();
    cachefeeder::answer("configSetting", answerWith(kDhcp));
    QCOMPARE(m_editor->stackEdit->currentWidget(), m_editor->pageInt);

    QSignalSpy done(m_editor, &EditConfigSetting::editConfigSettingDone);
    cachefeeder::RequestLog log;
    QTest::mouseClick(m_editor->buttonCancel, Qt::LeftButton);
    QVERIFY(log.requests().empty());
    QCOMPARE(done.count(), 1);
    QCOMPARE(done.first().first().toBool(), false);
}

void TestEditConfigSetting::keypadEditsTheValue()
{
    open("netmgr.devices.eth0.mtu", kMtu);
    m_editor->handleKey(Qt::Key_Right, true, false);
    m_editor->handleKey(Qt::Key_Right, false, false);
    QCoreApplication::processEvents();
    QCOMPARE(m_editor->spinValue->value(), 1401);
    QVERIFY(m_editor->buttonSave->isEnabled());

    // A select steps through its choices; Enter opens its list and Enter again picks.
    open("netmgr.devices.wlan0.region", kRegion);
    m_editor->buttonCancel->setFocus();
    m_editor->handleKey(Qt::Key_Right, true, false);
    m_editor->handleKey(Qt::Key_Right, false, false);
    QCOMPARE(QApplication::focusWidget(), m_editor->comboValue);
    QCOMPARE(m_editor->comboValue->currentIndex(), 0);
    m_editor->handleKey(Qt::Key_Right, true, false);
    m_editor->handleKey(Qt::Key_Right, false, false);
    QCOMPARE(m_editor->comboValue->currentText(), QString("Europe"));
    m_editor->handleKey(Qt::Key_Enter, true, false);
    m_editor->handleKey(Qt::Key_Enter, false, false);
    QTRY_VERIFY(QApplication::activePopupWidget());
    m_editor->handleKey(Qt::Key_Up, true, false);
    m_editor->handleKey(Qt::Key_Up, false, false);
    m_editor->handleKey(Qt::Key_Enter, true, false);
    m_editor->handleKey(Qt::Key_Enter, false, false);
    QTRY_VERIFY(!QApplication::activePopupWidget());
    QCOMPARE(m_editor->comboValue->currentText(), QString("United States"));

    open("netmgr.devices.eth0.dhcp", kDhcp);
    m_editor->handleKey(Qt::Key_Left, true, false);
    m_editor->handleKey(Qt::Key_Left, false, false);
    QVERIFY(m_editor->checkValue->isChecked());
    QCOMPARE(QApplication::focusWidget(), m_editor->buttonSave);
    QVERIFY(!m_editor->buttonDefault->isEnabled());
}

QTEST_MAIN(TestEditConfigSetting)
#include "test_editconfigsetting.moc"
