#include "framework/SelectPathWidget.h"
#include "framework/SkAboutDialog.h"
#include "framework/SkMessageBox.h"
#include "settings/CAppSetting.h"

#include <QtTest>
#include <QtWidgets>

Q_DECLARE_METATYPE(SkMessageBox::Enum_DialogType)

namespace {

class ResettableDialog final : public SkDialog
{
    Q_OBJECT

public:
    explicit ResettableDialog(bool showBottomButtons)
        : SkDialog(nullptr, {}, showBottomButtons)
    {
    }

    using SkDialog::minimize;
    int resets = 0;

protected slots:
    void reset() override { ++resets; }
};

struct AddressForm
{
    void setupUi(QWidget *root)
    {
        root->resize(345, 234);
        root->setWindowTitle(QStringLiteral("A form's title"));
        auto *layout = new QVBoxLayout(root);
        frame = new QFrame(root);
        frame->setObjectName(QStringLiteral("content_frame"));
        layout->addWidget(frame);
        auto *frameLayout = new QHBoxLayout(frame);
        address = new QLineEdit(frame);
        frameLayout->addWidget(address);
        go = new QPushButton(frame);
        go->setObjectName(QStringLiteral("go"));
        go->setDefault(true);
        frameLayout->addWidget(go);
        QMetaObject::connectSlotsByName(root);
    }

    QFrame *frame = nullptr;
    QPushButton *go = nullptr;
    QLineEdit *address = nullptr;
};

class AddressDialog final : public SkDialog
{
    Q_OBJECT

public:
    AddressDialog() { setupForm(form); }

    AddressForm form;
    int goes = 0;

private slots:
    void on_go_clicked() { ++goes; }
};

// Stands in for the system's browser.
class Browser final : public QObject
{
    Q_OBJECT

public:
    Browser() { QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open"); }
    ~Browser() override { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }

    QList<QUrl> opened;

public slots:
    void open(const QUrl &url) { opened << url; }
};

int warnings = 0;
QtMessageHandler earlierHandler = nullptr;

void countWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    warnings += type == QtWarningMsg;
    earlierHandler(type, context, text);
}

template <class Widget> Widget *child(const QWidget &parent, const char *name)
{
    return parent.findChild<Widget *>(QString::fromLatin1(name));
}

// The message box shares some object names with its base, so its own buttons are looked up below the content frame.
QPushButton *ownButton(const SkDialog &dialog, const char *name)
{
    return child<QPushButton>(*dialog.getContentFrame(), name);
}

bool isFullyVisible(const QWidget &widget)
{
    const QRect place(widget.mapTo(widget.window(), QPoint()), widget.size());
    return widget.isVisible() && widget.window()->rect().contains(place);
}

// Runs the action as soon as a chooser is open, and closes a chooser that the action left open.
void onceChooserOpens(const std::function<void(QFileDialog &)> &action)
{
    auto *poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, action] {
        auto *const chooser = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!chooser)
            return;
        poll->deleteLater();
        action(*chooser);
        if (chooser->isVisible())
            static_cast<QDialog *>(chooser)->reject();
    });
    poll->start(0);
}

void choose(QFileDialog &chooser, const QString &path)
{
    chooser.selectFile(path);
    static_cast<QDialog &>(chooser).accept();
}

} // namespace

class FrameworkTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void dialogOpensUnderTheProductsName();
    void bottomButtonsEndTheDialog_data();
    void bottomButtonsEndTheDialog();
    void bottomButtonsAreHiddenOneByOne();
    void minimizingTakesTheMainWindowAlong();
    void formOfASubclassBecomesTheDialogs();
    void quitEndsThisExecAndRejectsLaterOnes();

    void messageTypeDecidesIconAndButtons_data();
    void messageTypeDecidesIconAndButtons();
    void messageButtonsEndTheBox_data();
    void messageButtonsEndTheBox();
    void messageWithoutTypeHasOnlyOk();
    void extraButtonsStayWhenTheTypeChanges();
    void messageLinkOpensInTheBrowser();
    void messageIsNeverClipped_data();
    void messageIsNeverClipped();

    void aboutShowsTheProduct();
    void aboutLinkOpensFromTheKeyboard();

    void pathIsShownAtOnceForFoldersOnly();
    void choosingAFolder();
    void choosingAFile();
    void filterCollectsSuffixes_data();
    void filterCollectsSuffixes();
    void cancelledChooserChangesNothing_data();
    void cancelledChooserChangesNothing();
};

void FrameworkTest::initTestCase()
{
    QVERIFY(QResource::registerResource(QCoreApplication::applicationDirPath() + QStringLiteral("/skin.rcc")));

    CAppSetting *const setting = CAppSetting::instance();
    setting->companyName = QStringLiteral("Acme");
    setting->productName = QStringLiteral("Video Box");
    setting->version = QStringLiteral("2.1.0");
    setting->copyright = QStringLiteral("Copyright Acme & Sons");
    setting->companyURL = QStringLiteral("https://acme.example/home");
    setting->supportEmail = QStringLiteral("help@acme.example");
}

void FrameworkTest::dialogOpensUnderTheProductsName()
{
    SkDialog dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Acme Video Box"));
    QCOMPARE(dialog.size(), QSize(318, 263));
    QVERIFY(dialog.windowFlags() & Qt::WindowCloseButtonHint);
    QVERIFY(child<QFrame>(dialog, "windowTitle_frame")->isHidden());
    QVERIFY(child<QPushButton>(dialog, "minimize_pushButton")->isHidden());

    dialog.setTitleName(QStringLiteral("Other"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Other"));
    QCOMPARE(child<QLabel>(dialog, "title_label")->text(), QStringLiteral("title_label"));
}

void FrameworkTest::bottomButtonsEndTheDialog_data()
{
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("resets");

    QTest::newRow("OK") << QByteArray("ok_pushButton") << int(QDialog::Accepted) << 0;
    QTest::newRow("Cancel") << QByteArray("cancel_pushButton") << int(QDialog::Rejected) << 0;
    QTest::newRow("Default") << QByteArray("reset_pushButton") << -1 << 1;
}

void FrameworkTest::bottomButtonsEndTheDialog()
{
    QFETCH(QByteArray, button);
    QFETCH(int, result);
    QFETCH(int, resets);

    ResettableDialog bare(false);
    bare.show();
    QVERIFY(!child<QPushButton>(bare, button.constData())->isVisible());

    ResettableDialog dialog(true);
    QSignalSpy finished(&dialog, &QDialog::finished);
    dialog.show();
    auto *const pressed = child<QPushButton>(dialog, button.constData());
    QVERIFY(pressed->isVisible());
    QTest::mouseClick(pressed, Qt::LeftButton);
    QCOMPARE(finished.isEmpty() ? -1 : finished.constFirst().constFirst().toInt(), result);
    QCOMPARE(dialog.isVisible(), result == -1);
    QCOMPARE(dialog.resets, resets);
}

void FrameworkTest::bottomButtonsAreHiddenOneByOne()
{
    SkDialog dialog(nullptr, {}, true);
    const auto states = [&] {
        QVector<bool> hidden;
        for (const char *name : {"reset_pushButton", "ok_pushButton", "cancel_pushButton", "minimize_pushButton"})
            hidden << child<QPushButton>(dialog, name)->isHidden();
        return hidden;
    };
    QCOMPARE(states(), (QVector<bool>{false, false, false, true}));
    dialog.showResetButton(false);
    QCOMPARE(states(), (QVector<bool>{true, false, false, true}));
    dialog.showOkButton(false);
    QCOMPARE(states(), (QVector<bool>{true, true, false, true}));
    dialog.showCancelButton(false);
    QCOMPARE(states(), (QVector<bool>{true, true, true, true}));
    dialog.showMinimiButton(true);
    QCOMPARE(states(), (QVector<bool>{true, true, true, false}));
}

void FrameworkTest::minimizingTakesTheMainWindowAlong()
{
    ResettableDialog dialog(false);
    QSignalSpy minimized(&dialog, &SkDialog::minimizeMainWindow);
    dialog.show();
    dialog.minimize();
    QVERIFY(dialog.isMinimized());
    QCOMPARE(minimized.count(), 1);
}

void FrameworkTest::formOfASubclassBecomesTheDialogs()
{
    warnings = 0;
    earlierHandler = qInstallMessageHandler(countWarnings);
    AddressDialog dialog;
    qInstallMessageHandler(earlierHandler);
    QVERIFY2(warnings == 0, "building a form on the dialog warns");

    QCOMPARE(dialog.windowTitle(), QStringLiteral("A form's title"));
    QCOMPARE(dialog.size(), QSize(345, 234));
    QCOMPARE(dialog.objectName(), QStringLiteral("SkDialog"));
    QVERIFY(qobject_cast<QVBoxLayout *>(dialog.getContentFrame()->layout()));
    QCOMPARE(dialog.getContentFrame()->layout()->indexOf(dialog.form.frame), 0);

    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QVERIFY2(dialog.form.address->hasFocus(), "the form's first input does not have the focus");
    QTest::keyClick(dialog.form.address, Qt::Key_Return);
    QVERIFY2(dialog.goes == 1, "the form's default button does not answer to Enter once");
    QTest::mouseClick(dialog.form.go, Qt::LeftButton);
    QCOMPARE(dialog.goes, 2);
}

void FrameworkTest::quitEndsThisExecAndRejectsLaterOnes()
{
    int laterResult = -1;
    bool laterShown = true;
    const auto dismiss = [](SkDialog &dialog) {
        QTimer::singleShot(0, &dialog, [&dialog] { static_cast<QDialog &>(dialog).accept(); });
    };
    QTimer::singleShot(0, this, [&] {
        auto *const doomed = new SkDialog;
        QTimer::singleShot(0, doomed, &QObject::deleteLater);
        QCOMPARE(doomed->exec(), int(QDialog::Rejected));

        SkDialog closed;
        dismiss(closed);
        QCOMPARE(closed.exec(), int(QDialog::Accepted));

        SkDialog current;
        QTimer::singleShot(0, qApp, &QCoreApplication::quit);
        QCOMPARE(current.exec(), int(QDialog::Rejected));

        SkDialog later;
        laterResult = later.exec();
        laterShown = later.windowHandle();
    });
    QCoreApplication::exec();
    QCOMPARE(laterResult, int(QDialog::Rejected));
    QVERIFY2(!laterShown, "a dialog flashes up while the application quits");

    SkDialog afterwards;
    dismiss(afterwards);
    QCOMPARE(afterwards.exec(), int(QDialog::Accepted));
}

void FrameworkTest::messageTypeDecidesIconAndButtons_data()
{
    QTest::addColumn<SkMessageBox::Enum_DialogType>("type");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("open");

    QTest::newRow("info") << SkMessageBox::DialogType_Info << "info" << false << false;
    QTest::newRow("question") << SkMessageBox::DialogType_Question << "quest" << true << false;
    QTest::newRow("warning") << SkMessageBox::DialogType_Warning << "warn" << false << false;
    QTest::newRow("critical") << SkMessageBox::DialogType_Critical << "crit" << false << false;
    QTest::newRow("info with open") << SkMessageBox::DialogType_InfoWithOpen << "info" << false << true;
    QTest::newRow("unknown") << SkMessageBox::Enum_DialogType(7) << QString() << false << false;
}

void FrameworkTest::messageTypeDecidesIconAndButtons()
{
    QFETCH(SkMessageBox::Enum_DialogType, type);
    QFETCH(QString, icon);
    QFETCH(bool, cancel);
    QFETCH(bool, open);

    SkMessageBox box(nullptr, type, QStringLiteral("Invalid path"));
    QCOMPARE(box.windowTitle(), QStringLiteral("Dialog"));
    QCOMPARE(box.size(), QSize(301, 121));
    box.show();
    QCOMPARE(child<QLabel>(box, "text_label")->text(), QStringLiteral("Invalid path"));
    QVERIFY(ownButton(box, "ok_pushButton")->isVisible());
    QCOMPARE(ownButton(box, "cancel_pushButton")->isVisible(), cancel);
    QCOMPARE(ownButton(box, "open_pushButton")->isVisible(), open);

    QPixmap expected(40, 39);
    expected.fill(Qt::transparent);
    if (!icon.isEmpty())
        QVERIFY(expected.load(QStringLiteral(":/messagebox-%1.png").arg(icon)));
    const QPixmap shown = child<QLabel>(*box.getContentFrame(), "icon_label")->pixmap(Qt::ReturnByValue);
    QCOMPARE(shown.toImage(), expected.toImage());
}

void FrameworkTest::messageButtonsEndTheBox_data()
{
    QTest::addColumn<SkMessageBox::Enum_DialogType>("type");
    QTest::addColumn<QByteArray>("button");
    QTest::addColumn<int>("result");
    QTest::addColumn<int>("opens");

    const int accepted = QDialog::Accepted;
    const int rejected = QDialog::Rejected;
    const QByteArray ok("ok_pushButton");
    QTest::newRow("warning, OK") << SkMessageBox::DialogType_Warning << ok << accepted << 0;
    QTest::newRow("question, OK") << SkMessageBox::DialogType_Question << ok << accepted << 0;
    QTest::newRow("question, Cancel") << SkMessageBox::DialogType_Question << QByteArray("cancel_pushButton")
                                      << rejected << 0;
    QTest::newRow("open") << SkMessageBox::DialogType_InfoWithOpen << QByteArray("open_pushButton") << rejected << 1;
    QTest::newRow("Escape") << SkMessageBox::DialogType_Critical << QByteArray() << rejected << 0;
}

void FrameworkTest::messageButtonsEndTheBox()
{
    QFETCH(SkMessageBox::Enum_DialogType, type);
    QFETCH(QByteArray, button);
    QFETCH(int, result);
    QFETCH(int, opens);

    SkMessageBox box(nullptr, type, QStringLiteral("Text"));
    QSignalSpy opened(&box, &SkMessageBox::openPath);
    QTimer::singleShot(0, &box, [&] {
        if (button.isEmpty())
            QTest::keyClick(&box, Qt::Key_Escape);
        else
            QTest::mouseClick(ownButton(box, button.constData()), Qt::LeftButton);
    });
    QCOMPARE(box.exec(), result);
    QCOMPARE(opened.count(), opens);
}

void FrameworkTest::messageWithoutTypeHasOnlyOk()
{
    SkMessageBox box(nullptr);
    box.setBtnText(QStringLiteral("Got it"));
    box.show();
    QVERIFY(QTest::qWaitForWindowActive(&box));
    QVERIFY(!ownButton(box, "cancel_pushButton")->isVisible());
    QVERIFY(!ownButton(box, "open_pushButton")->isVisible());
    QCOMPARE(ownButton(box, "ok_pushButton")->text(), QStringLiteral("Got it"));
    QVERIFY(ownButton(box, "ok_pushButton")->hasFocus());

    QTest::keyClick(&box, Qt::Key_Return);
    QVERIFY2(!box.isVisible(), "Enter does not press OK");
    QCOMPARE(box.result(), int(QDialog::Accepted));
}

void FrameworkTest::extraButtonsStayWhenTheTypeChanges()
{
    SkMessageBox box(nullptr, SkMessageBox::DialogType_Question, QStringLiteral("Text"));
    box.setMessageType(SkMessageBox::DialogType_InfoWithOpen);
    box.show();
    QVERIFY(ownButton(box, "cancel_pushButton")->isVisible());
    QVERIFY(ownButton(box, "open_pushButton")->isVisible());
}

void FrameworkTest::messageLinkOpensInTheBrowser()
{
    Browser browser;
    SkMessageBox box(nullptr, SkMessageBox::DialogType_Info,
                     QStringLiteral("<a href=\"https://acme.example/news\">A rather long link</a>"));
    box.show();
    auto *const label = child<QLabel>(box, "text_label");
    QTest::mouseClick(label, Qt::LeftButton, {}, QPoint(10, label->height() / 2));
    QCOMPARE(browser.opened, QList<QUrl>{QUrl(QStringLiteral("https://acme.example/news"))});
}

void FrameworkTest::messageIsNeverClipped_data()
{
    QTest::addColumn<double>("fontScale");
    QTest::addColumn<int>("repeats");

    for (const double fontScale : {1.0, 1.5, 2.0}) {
        for (const int repeats : {1, 6})
            QTest::addRow("%d %%, %d sentences", int(fontScale * 100), repeats) << fontScale << repeats;
    }
}

void FrameworkTest::messageIsNeverClipped()
{
    QFETCH(double, fontScale);
    QFETCH(int, repeats);

    const QString sentence = QStringLiteral(
        "Analyze the Youtube url failed: Error transferring https://www.youtube.com/watch?v=abcdefghijk - server "
        "replied: Service Unavailable. Please check your network connection. ");
    SkMessageBox box(nullptr, SkMessageBox::DialogType_Critical, sentence.repeated(repeats));
    QFont font = box.font();
    font.setPointSizeF(font.pointSizeF() * fontScale);
    box.setFont(font);
    box.show();

    const auto *const label = child<QLabel>(box, "text_label");
    const auto showsAll = [&] {
        return label->height() >= label->heightForWidth(label->width()) && isFullyVisible(*label)
            && isFullyVisible(*ownButton(box, "ok_pushButton"));
    };
    QVERIFY(showsAll());
    QVERIFY(box.width() <= box.screen()->availableGeometry().width());

    box.setMessageText(sentence.repeated(repeats * 2));
    QTRY_VERIFY(showsAll());
}

void FrameworkTest::aboutShowsTheProduct()
{
    const SkAboutDialog about;
    QCOMPARE(about.windowTitle(), QStringLiteral("AboutUs"));
    QCOMPARE(child<QLabel>(about, "homePage_label")->text(),
             QStringLiteral("<a href = https://acme.example/home>https://acme.example/home</a>"));
    QCOMPARE(child<QLabel>(about, "support_label")->text(),
             QStringLiteral("<a href = help@acme.example>help@acme.example</a>"));
    QCOMPARE(child<QLabel>(about, "copyRight_label")->text(), QStringLiteral("Copyright Acme & Sons"));
    QCOMPARE(child<QLabel>(about, "version_label")->text(), QStringLiteral("2.1.0"));
}

void FrameworkTest::aboutLinkOpensFromTheKeyboard()
{
    Browser browser;
    SkAboutDialog about;
    about.show();
    QVERIFY(QTest::qWaitForWindowActive(&about));
    auto *const link = child<QLabel>(about, "homePage_label");
    link->setFocus(Qt::TabFocusReason);
    QTest::keyClick(link, Qt::Key_Tab);
    QTest::keyClick(link, Qt::Key_Return);
    QCOMPARE(browser.opened, QList<QUrl>{QUrl(QStringLiteral("https://acme.example/home"))});

    QTest::keyClick(&about, Qt::Key_Escape);
    QVERIFY(!about.isVisible());
}

void FrameworkTest::pathIsShownAtOnceForFoldersOnly()
{
    SelectPathWidget folder;
    folder.init(SelectPathWidget::SlectType_Directory, QStringLiteral("/a/b"), {});
    QCOMPARE(folder.currentPath(), QStringLiteral("/a/b"));

    SelectPathWidget file;
    file.init(SelectPathWidget::SlectType_File, QStringLiteral("/a/b"), {});
    QCOMPARE(file.currentPath(), QString());
}

void FrameworkTest::choosingAFolder()
{
    QTemporaryDir start;
    const QString chosen = start.filePath(QStringLiteral("movies"));
    QVERIFY(QDir().mkpath(chosen));

    SelectPathWidget picker;
    picker.init(SelectPathWidget::SlectType_Directory, start.path(), {});
    QSignalSpy changed(&picker, &SelectPathWidget::dirPathChanged);

    onceChooserOpens([&](QFileDialog &chooser) {
        QCOMPARE(chooser.windowTitle(), QStringLiteral("Open Directory"));
        QCOMPARE(chooser.directory().path(), start.path());
        QCOMPARE(chooser.options(), QFileDialog::Options(QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks));
        choose(chooser, chosen);
    });
    child<QPushButton>(picker, "pushButton")->click();
    QCOMPARE(picker.currentPath(), chosen);
    QCOMPARE(changed, (QList<QVariantList>{{chosen}}));

    QString nextStart;
    onceChooserOpens([&](QFileDialog &chooser) { nextStart = chooser.directory().path(); });
    child<QPushButton>(picker, "pushButton")->click();
    QCOMPARE(nextStart, chosen);
}

void FrameworkTest::choosingAFile()
{
    QTemporaryDir start;
    const QString folder = start.filePath(QStringLiteral("a/b"));
    QVERIFY(QDir().mkpath(folder));
    QFile film(folder + QStringLiteral("/c.mp4"));
    QVERIFY(film.open(QIODevice::WriteOnly));
    film.close();

    SelectPathWidget picker;
    picker.init(SelectPathWidget::SlectType_File, start.path(), {QStringLiteral("mp4")});
    QSignalSpy changed(&picker, &SelectPathWidget::dirPathChanged);

    onceChooserOpens([&](QFileDialog &chooser) {
        QCOMPARE(chooser.windowTitle(), QStringLiteral("Load File"));
        QCOMPARE(chooser.directory().path(), start.path());
        choose(chooser, film.fileName());
    });
    child<QPushButton>(picker, "pushButton")->click();
    QCOMPARE(picker.currentPath(), film.fileName());
    QCOMPARE(changed, (QList<QVariantList>{{folder}}));

    QString nextStart;
    onceChooserOpens([&](QFileDialog &chooser) { nextStart = chooser.directory().path(); });
    child<QPushButton>(picker, "pushButton")->click();
    QCOMPARE(nextStart, folder);
}

void FrameworkTest::filterCollectsSuffixes_data()
{
    QTest::addColumn<QList<QStringList>>("inits");
    QTest::addColumn<QString>("filter");

    const QStringList two{QStringLiteral("mp4"), QStringLiteral("flv")};
    const QStringList one{QStringLiteral("avi")};
    QTest::newRow("two suffixes") << QList<QStringList>{two} << "File (*.mp4 *.flv)";
    QTest::newRow("none") << QList<QStringList>{QStringList()} << "File )";
    QTest::newRow("twice") << QList<QStringList>{two, one} << "File (*.mp4 *.flv)File (*.avi)";
}

void FrameworkTest::filterCollectsSuffixes()
{
    QFETCH(QList<QStringList>, inits);
    QFETCH(QString, filter);

    SelectPathWidget picker;
    for (const QStringList &suffixes : qAsConst(inits))
        picker.init(SelectPathWidget::SlectType_File, QDir::tempPath(), suffixes);
    QStringList filters;
    onceChooserOpens([&](QFileDialog &chooser) { filters = chooser.nameFilters(); });
    child<QPushButton>(picker, "pushButton")->click();
    QCOMPARE(filters, QStringList{filter});
}

void FrameworkTest::cancelledChooserChangesNothing_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("shown");

    QTest::newRow("folder") << int(SelectPathWidget::SlectType_Directory) << QDir::tempPath();
    QTest::newRow("file") << int(SelectPathWidget::SlectType_File) << QString();
}

void FrameworkTest::cancelledChooserChangesNothing()
{
    QFETCH(int, type);
    QFETCH(QString, shown);

    SelectPathWidget picker;
    picker.init(SelectPathWidget::SlectType(type), QDir::tempPath(), {});
    QSignalSpy changed(&picker, &SelectPathWidget::dirPathChanged);
    bool asked = false;
    onceChooserOpens([&](QFileDialog &) { asked = true; });
    child<QPushButton>(picker, "pushButton")->click();
    QVERIFY(asked);
    QCOMPARE(picker.currentPath(), shown);
    QVERIFY(changed.isEmpty());
}

int main(int argc, char *argv[])
{
    // The settings are written into this home when the process ends, so it must outlive them.
    static const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());

    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    FrameworkTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_framework.moc"
