#include "framework/DoubleClickGuard.h"
#include "framework/SelectPathWidget.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"
#include "support/Files.h"
#include "support/TestMain.h"
#include "support/TextTable.h"
#include "tour/Driver.h"

#include <QtTest>
#include <QtWidgets>

class TestFramework final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QResource::registerResource(QCoreApplication::applicationDirPath() + "/skin.rcc"_s));
    }

    // Presses, second presses of a double-click, and showings of the button; then how often it is clicked.
    void doubleClickGuard_data() { textTable("clicks", {"p -> 1", "d -> 0", "pd -> 2", "psd -> 1", "psdp -> 2"}); }
    void doubleClickGuard()
    {
        QPushButton button;
        new DoubleClickGuard(&button);
        QSignalSpy clicks(&button, &QPushButton::clicked);
        button.show();
        for (const char *event = QTest::currentDataTag(); *event; ++event) {
            if (*event == 's') {
                button.hide();
                button.show();
                continue;
            }
            const auto type = *event == 'p' ? QEvent::MouseButtonPress : QEvent::MouseButtonDblClick;
            QMouseEvent press(type, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton, {});
            QApplication::sendEvent(&button, &press);
            QTest::mouseRelease(&button, Qt::LeftButton, {}, {5, 5});
        }
        QTEST(QString::number(clicks.size()), "clicks");
    }

    // Type and button pressed; then icon, visible buttons, result and requests to open.
    void messageBox_data()
    {
        textTable("end",
                  {"0 ok_pushButton -> info ok 1 0", "1 ok_pushButton -> quest ok cancel 1 0",
                   "1 cancel_pushButton -> quest ok cancel 0 0", "2 ok_pushButton -> warn ok 1 0",
                   "3 ok_pushButton -> crit ok 1 0", "4 open_pushButton -> info open ok 0 1",
                   "7 ok_pushButton -> ok 1 0"});
    }
    void messageBox()
    {
        const auto type = SkMessageBox::Enum_DialogType(*QTest::currentDataTag() - '0');
        SkMessageBox box(nullptr, type, "Text"_s);
        const QFrame *frame = box.getContentFrame();
        QSignalSpy opened(&box, &SkMessageBox::openPath);
        box.show();
        QVERIFY(!named<QFrame>(&box, "bottomButton_frame")->isVisible());
        QStringList seen{"info"_s, "quest"_s, "warn"_s, "crit"_s};
        const QImage icon = named<QLabel>(frame, "icon_label")->pixmap(Qt::ReturnByValue).toImage();
        QVERIFY(box.windowTitle() == "Dialog"_s
                && (type != 7 || (icon.size() == QSize(40, 39) && icon.pixelColor(9, 9).alpha() == 0)));
        for (const QString &name : QStringList(seen)) {
            if (icon != QPixmap(":/messagebox-%1.png"_s.arg(name)).toImage())
                seen.removeOne(name);
        }
        for (const char *name : {"open_pushButton", "ok_pushButton", "cancel_pushButton"}) {
            if (named<QPushButton>(frame, name)->isVisible())
                seen += QString::fromLatin1(name).section(QLatin1Char('_'), 0, 0);
        }
        click(named<QPushButton>(frame, QTest::currentDataTag() + 2));
        QVERIFY(!box.isVisible());
        seen << QString::number(box.result()) << QString::number(opened.size());
        QTEST(seen.join(QLatin1Char(' ')), "end");
    }

    // Whatever is said, and in whatever font, all of it can be read, and stands there as it was given.
    void messageIsNeverClipped()
    {
        for (const QString &text :
             {"Please check your network connection. "_s.repeated(9), QString(1400, QLatin1Char('x')),
              QString(9000, QLatin1Char('x')), "<h1>%1</h1> &amp; <a href='x:y'>"_s}) {
            SkMessageBox box(nullptr);
            box.setPlainMessageText(text);
            QFont font = box.font();
            font.setPointSizeF(font.pointSizeF() * 2);
            box.setFont(font);
            box.show();
            const auto *label = named<QLabel>(&box, "text_label");
            QCOMPARE(label->text(), text);
            QCOMPARE(label->textFormat(), Qt::PlainText);
            QTRY_VERIFY(label->height() >= label->heightForWidth(label->width()));
            QVERIFY(box.width() <= box.screen()->availableSize().width() && label->minimumSizeHint().width() < 600);
            QVERIFY(text.size() < 1500 || box.height() <= box.screen()->availableSize().height());
        }
    }

    void dialogStandsAlone()
    {
        SkDialog dialog;
        QSignalSpy minimized(&dialog, &SkDialog::minimizeMainWindow);
        dialog.show();
        QCOMPARE(dialog.windowTitle(), CAppSetting::instance()->getFullProductName());
        QVERIFY(!named<QFrame>(&dialog, "windowTitle_frame")->isVisible());
        QVERIFY(named<QPushButton>(&dialog, "minimize_pushButton")->isHidden());
        QVERIFY(QMetaObject::invokeMethod(&dialog, "minimize"));
        QVERIFY(dialog.isMinimized() && minimized.size() == 1);
        SkDialog withButtons(nullptr, {}, true);
        withButtons.show();
        withButtons.showOkButton(false);
        withButtons.showResetButton(false);
        QVERIFY(!named<QPushButton>(&withButtons, "ok_pushButton")->isVisible());
        QVERIFY(!named<QPushButton>(&withButtons, "reset_pushButton")->isVisible());
        click(named<QPushButton>(&withButtons, "cancel_pushButton"));
        QVERIFY(!withButtons.isVisible());
    }

    void aboutDialog()
    {
        CAppSetting *const setting = CAppSetting::instance();
        const SkAboutDialog about;
        QCOMPARE(about.windowTitle(), "AboutUs"_s);
        for (const auto &[label, text] : {std::pair("homePage_label", setting->companyURL),
                                          {"support_label", setting->supportEmail},
                                          {"copyRight_label", setting->copyright},
                                          {"version_label", setting->version}})
            QVERIFY2(!text.isEmpty() && named<QLabel>(&about, label)->text().contains(text), label);
    }

    void pathPicker()
    {
        for (const bool isFile : {true, false}) {
            const QString folder = QDir::homePath() + "/picked"_s;
            const QString path = isFile ? folder + "/a.mp4"_s : folder;
            QVERIFY(!isFile || writeFile(path, "a"));
            SelectPathWidget picker;
            const auto type = isFile ? SelectPathWidget::SlectType_File : SelectPathWidget::SlectType_Directory;
            picker.init(type, QDir::homePath(), {"mp4"_s, "flv"_s});
            QCOMPARE(picker.currentPath(), isFile ? QString() : QDir::homePath());
            QSignalSpy folders(&picker, &SelectPathWidget::dirPathChanged);
            Driver driver;
            driver.whenIdle([&] { click(named<QPushButton>(&picker, "pushButton")); });
            driver.whenOpen<QFileDialog>([](QFileDialog *chooser) { chooser->reject(); });
            driver.whenIdle([&] { click(named<QPushButton>(&picker, "pushButton")); });
            driver.whenOpen<QFileDialog>([&](QFileDialog *chooser) {
                QVERIFY(!isFile || chooser->nameFilters() == QStringList{"File (*.mp4 *.flv)"_s});
                named<QLineEdit>(chooser, "fileNameEdit")->setText(path);
                QMetaObject::invokeMethod(chooser, "accept");
            });
            QVERIFY2(driver.play(), qPrintable(driver.failure()));
            QCOMPARE(picker.currentPath(), path);
            QCOMPARE(folders, (QList<QVariantList>{{folder}}));
        }
    }
};

FOURFOLD_TEST_MAIN(QApplication, TestFramework)

#include "tst_framework.moc"
