#include <QDomDocument>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

namespace {

QString formPath(const QString &form)
{
    return QStringLiteral(FOURFOLD_FORMS) + form + QStringLiteral(".ui");
}

QDomElement readForm(const QString &form)
{
    QDomDocument document;
    QFile file(formPath(form));
    return document.setContent(&file) ? document.documentElement() : QDomElement();
}

QVector<QDomElement> elements(const QDomElement &parent, const QString &tag = {})
{
    QVector<QDomElement> found;
    for (QDomElement child = parent.firstChildElement(tag); !child.isNull(); child = child.nextSiblingElement(tag))
        found << child;
    return found;
}

// The value of a property without scopes; the parts of a compound one joined by "x", a position left out.
QString value(const QDomElement &property)
{
    QStringList parts;
    const QDomElement content = property.firstChildElement();
    if (content.tagName() == QLatin1String("sizepolicy"))
        return content.attribute(QStringLiteral("hsizetype")) + QLatin1Char('x')
            + content.attribute(QStringLiteral("vsizetype"));
    if (content.firstChildElement().isNull())
        return content.text().remove(QRegularExpression(QStringLiteral("\\bQ\\w+::|\\bQt::")));
    for (const QDomElement &part : elements(content)) {
        if (part.tagName() != QLatin1String("x") && part.tagName() != QLatin1String("y"))
            parts << part.text();
    }
    return parts.join(QLatin1Char('x'));
}

QMap<QString, QString> properties(const QDomElement &object)
{
    QMap<QString, QString> found;
    for (const QDomElement &property : elements(object, QStringLiteral("property")))
        found[property.attribute(QStringLiteral("name"))] = value(property);
    return found;
}

// In the order of the property names; what stands in no table of the forms (accessible names and the like) is left out.
QStringList describe(const QDomElement &object)
{
    static const QMap<QString, QString> formats{
        {QStringLiteral("text"), QStringLiteral("\"%1\"")},
        {QStringLiteral("toolTip"), QStringLiteral("tip \"%1\"")},
        {QStringLiteral("windowTitle"), QStringLiteral("title \"%1\"")},
        {QStringLiteral("geometry"), QStringLiteral("%1")},
        {QStringLiteral("frameShape"), QStringLiteral("%1")},
        {QStringLiteral("frameShadow"), QStringLiteral("%1")},
        {QStringLiteral("orientation"), QStringLiteral("%1")},
        {QStringLiteral("sizeHint"), QStringLiteral("%1")},
        {QStringLiteral("sizeType"), QStringLiteral("%1")},
    };
    static const QStringList unlisted{QStringLiteral("accessibleName"), QStringLiteral("default"),
                                      QStringLiteral("textInteractionFlags")};
    QMap<QString, QString> all = properties(object);

    QStringList words;
    QStringList margins;
    for (const char *side : {"leftMargin", "topMargin", "rightMargin", "bottomMargin"})
        margins << all.take(QString::fromLatin1(side));
    for (auto property = all.cbegin(); property != all.cend(); ++property) {
        if (!unlisted.contains(property.key()))
            words << formats.value(property.key(), property.key() + QStringLiteral(" %1")).arg(property.value());
    }
    if (margins.count(margins.constFirst()) == margins.size())
        margins = margins.mid(0, 1);
    if (!margins.constFirst().isEmpty())
        words << QStringLiteral("margins ") + margins.join(QLatin1Char(','));

    QStringList columns;
    for (const QDomElement &column : elements(object, QStringLiteral("column")))
        columns << properties(column).value(QStringLiteral("text"));
    if (!columns.isEmpty())
        words << columns.join(QLatin1Char('|'));
    return words;
}

// One line for each object, indented by its depth; spacers go without their names.
QStringList outline(const QDomElement &object, int depth = 0, const QString &cell = {})
{
    QStringList words;
    if (object.tagName() == QLatin1String("spacer"))
        words << QStringLiteral("spacer");
    else
        words << object.attribute(QStringLiteral("class")) << object.attribute(QStringLiteral("name"));
    words << describe(object);
    if (!cell.isEmpty())
        words << cell;

    QStringList lines{QString(depth, QLatin1Char(' ')) + words.join(QLatin1Char(' '))};
    static const QStringList objects{QStringLiteral("widget"), QStringLiteral("layout"), QStringLiteral("spacer")};
    for (const QDomElement &child : elements(object)) {
        if (objects.contains(child.tagName())) {
            lines << outline(child, depth + 1);
        } else if (child.tagName() == QLatin1String("item")) {
            QString place;
            if (child.hasAttribute(QStringLiteral("row")))
                place = QStringLiteral("@%1,%2 span %3")
                            .arg(child.attribute(QStringLiteral("row")), child.attribute(QStringLiteral("column")),
                                 child.attribute(QStringLiteral("colspan"), QStringLiteral("1")));
            lines << outline(child.firstChildElement(), depth + 1, place);
        }
    }
    return lines;
}

} // namespace

class FormsTest final : public QObject
{
    Q_OBJECT

private slots:
    void formIsAsTheStyleSheetKnowsIt_data();
    void formIsAsTheStyleSheetKnowsIt();
    void formCompilesWithoutWarnings_data();
    void formCompilesWithoutWarnings();
    void everyControlHasAName_data();
    void everyControlHasAName();
    void placeholdersNameTheirClasses();
    void dialogButtonsAreReachedInOrder();

private:
    static void addFormRows();
};

void FormsTest::formIsAsTheStyleSheetKnowsIt_data()
{
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("expected");

    QTest::newRow("main window") << "app/SkMainWindow"
                                 << R"(
QMainWindow SkMainWindow 807x473 title "MainWindow"
 QWidget centralWidget
  QVBoxLayout verticalLayout spacing 0 margins 0
   QFrame windowTitle_frame Raised NoFrame lineWidth 0
    QHBoxLayout horizontalLayout_3 spacing 0 margins 0
     QFrame title_frame Raised NoFrame lineWidth 0
      QHBoxLayout horizontalLayout_8 spacing 0 margins 0
       QLabel icon_label "ICon"
       QLabel title_label "title_label"
       spacer Horizontal 40x20
     QFrame button_frame Raised NoFrame lineWidth 0
      QHBoxLayout horizontalLayout spacing 0 margins 0
       QPushButton help_pushButton ""
       QPushButton minimize_pushButton ""
       QPushButton revert_pushButton ""
       QPushButton maximize_pushButton ""
       QPushButton close_pushButton ""
   QFrame menuBar_frame Raised NoFrame lineWidth 0
   QFrame framePage Raised StyledPanel
    QHBoxLayout horizontalLayout_5 spacing 0 margins 0
     QLabel label_3 "Logo"
     QToolButton btnPage1 ""
     QToolButton btnPage2 ""
     QToolButton btnPage3 ""
   QFrame frameMain Raised StyledPanel
    QVBoxLayout verticalLayout_2 spacing 0 margins 0
     MainWidget widgetMain
)";
    QTest::newRow("page host") << "app/MainWidget"
                               << R"(
QWidget MainWidget 783x436 title "MainWidget"
 QVBoxLayout verticalLayout spacing 0 margins 0
  QStackedWidget stackedWidget currentIndex 1
   QWidget pageWelcome
   DownloaderWidget page1
   QWidget page2
   QWidget page3
  QFrame frameStatus Raised StyledPanel
   QHBoxLayout horizontalLayout_2 spacing 0 margins 0
    MyStatusBar widgetStatus
)";
    QTest::newRow("status bar") << "app/MyStatusBar"
                                << R"(
QWidget MyStatusBar 697x42 title "MyStatusBar"
 QHBoxLayout horizontalLayout_2 spacing 0 margins 20,0,20,0
  QHBoxLayout horizontalLayout spacing 0
   QLabel labelLeft ""
   spacer Horizontal 40x20 MinimumExpanding
   QLabel labelMiddle alignment AlignCenter ""
   spacer Horizontal 40x20 MinimumExpanding
   QLabel labelRight alignment AlignRight|AlignTrailing|AlignVCenter ""
)";
    QTest::newRow("task list page") << "ui/DownloaderWidget"
                                    << R"(
QWidget DownloaderWidget 953x427 title "Form"
 QVBoxLayout verticalLayout spacing 0 margins 0
  QFrame frameTool Raised StyledPanel
   QHBoxLayout horizontalLayout spacing 0 margins 0
    QToolButton addVideo autoRaise true iconSize 60x60 "" toolButtonStyle ToolButtonTextUnderIcon
    QToolButton addPlaylist autoRaise true iconSize 60x60 "" toolButtonStyle ToolButtonTextUnderIcon
    spacer Horizontal 40x20
  QTreeWidget treeWidget rootIsDecorated false ID|Name|Duration|Size|Downloaded|Progress
  QFrame frameOutput Raised StyledPanel
   QHBoxLayout horizontalLayout_2
    QLabel label_3 "Output Path:"
    QFrame output_frame Raised NoFrame
     QHBoxLayout horizontalLayout_3 spacing 0 margins 0
      QLineEdit leDestination focusPolicy NoFocus
      QPushButton btnBrowse "" tip "Select output folder"
    QPushButton btnOpen "Open" tip "Open output folder"
    spacer Horizontal 40x20
)";
    QTest::newRow("URL entry") << "ui/VideoUrlDialog"
                               << R"(
QWidget VideoUrlDialog 640x120 title "Dialog"
 QVBoxLayout verticalLayout_2
  QFrame content_frame Raised StyledPanel
   QVBoxLayout verticalLayout
    QHBoxLayout horizontalLayout_2 spacing 0
     QLabel lUrl "YouTube URL :"
     QLineEdit urlLineEdit
     QPushButton btnGo "Go"
     QPushButton btnCancel "Cancel"
    QFrame frame Raised StyledPanel
     QHBoxLayout horizontalLayout spacing 0 margins 0
      QLabel status_label "Cancelling, please wait..."
      QLabel movie_label ""
      spacer Horizontal 40x20
)";
    QTest::newRow("format choice") << "ui/VideoInfo"
                                   << R"(
QWidget VideoInfo 906x440 title "Dialog"
 QVBoxLayout verticalLayout_2
  QFrame content_frame Raised StyledPanel
   QVBoxLayout verticalLayout
    QLabel lTitle "Please select which one to download."
    QTableWidget tableWidget alternatingRowColors true editTriggers NoEditTriggers selectionBehavior SelectRows selectionMode SingleSelection ID|Name|Format|Duration|Resolution|Size|Download
)";
    QTest::newRow("dialog base") << "framework/SkDialog"
                                 << R"(
QDialog SkDialog 318x263 title "Dialog"
 QVBoxLayout verticalLayout spacing 0 margins 0
  QFrame windowTitle_frame Raised NoFrame
   QHBoxLayout horizontalLayout_9 spacing 0 margins 0
    QFrame title_frame Raised NoFrame
     QHBoxLayout horizontalLayout_8 spacing 0 margins 0
      QLabel icon_label "ICon"
      QLabel title_label "title_label"
      spacer Horizontal 40x20
    QFrame button_frame Raised NoFrame
     QHBoxLayout horizontalLayout_7 spacing 0 margins 0
      QPushButton minimize_pushButton ""
      QPushButton close_pushButton ""
  QFrame content_frame
  QFrame bottomButton_frame Raised NoFrame
   QHBoxLayout horizontalLayout
    QPushButton reset_pushButton "Default"
    spacer Horizontal 40x20
    QPushButton ok_pushButton "OK"
    QPushButton cancel_pushButton "Cancel"
)";
    QTest::newRow("message box") << "framework/SkMessageBox"
                                 << R"(
QWidget SkMessageBox 301x121 title "Dialog"
 QVBoxLayout verticalLayout_2
  QFrame content_frame Raised NoFrame lineWidth 0
   QVBoxLayout verticalLayout
    QFrame frame Raised StyledPanel
     QHBoxLayout horizontalLayout_2
      QLabel icon_label sizePolicy PreferredxPreferred ""
      QLabel text_label openExternalLinks true sizePolicy ExpandingxExpanding "" wordWrap true
    QFrame frame_2 Raised StyledPanel
     QHBoxLayout horizontalLayout_3
      spacer Horizontal 40x20
      QPushButton open_pushButton "Open Output"
      QPushButton ok_pushButton "OK"
      QPushButton cancel_pushButton "Cancel"
)";
    QTest::newRow("about") << "framework/SkAboutDialog"
                           << R"(
QWidget SkAboutDialog 207x117 title "Dialog"
 QVBoxLayout verticalLayout
  QFrame content_frame Raised NoFrame
   QVBoxLayout verticalLayout_2 spacing 0 margins 0
    QFrame frame_3 Raised NoFrame
     QHBoxLayout horizontalLayout spacing 0 margins 0
      spacer Horizontal 87x20
      QFrame logo_frame Raised StyledPanel
      spacer Horizontal 86x20
    QFrame frame Raised NoFrame
     QVBoxLayout verticalLayout_3 spacing 0 margins 0
      QHBoxLayout horizontalLayout_3
       QFrame frame_2 Raised StyledPanel
        QFormLayout formLayout fieldGrowthPolicy AllNonFixedFieldsGrow
         QLabel label "HomePage:" @0,0 span 1
         QLabel homePage_label openExternalLinks true "" @0,1 span 1
         QLabel label_2 "Support:" @1,0 span 1
         QLabel support_label openExternalLinks true "" @1,1 span 1
         QLabel copyRight_label "" @2,0 span 2
       QFrame frame_4 Raised StyledPanel
        QVBoxLayout verticalLayout_4
         QHBoxLayout horizontalLayout_2
          QLabel label_3 "Version:"
          QLabel version_label ""
)";
    QTest::newRow("path picker") << "framework/SelectPathWidget"
                                 << R"(
QWidget SelectPathWidget 71x23 title "Form"
 QHBoxLayout horizontalLayout spacing 0 margins 0
  QLineEdit lineEdit
  QPushButton pushButton "" tip "Select output folder"
)";
    QTest::newRow("live update") << "update/LiveUpdateDialog"
                                 << R"(
QWidget LiveUpdateDialog 474x317 title "LiveUpdateDialog"
 QVBoxLayout verticalLayout spacing 6 margins 11
  QFrame content_frame Raised NoFrame
   QVBoxLayout verticalLayout_2 spacing 0 margins 0
    QStackedWidget stackedWidget currentIndex 1
     QWidget page
      QVBoxLayout verticalLayout_4 spacing 6 margins 11
       spacer Vertical 20x40
       QLabel label openExternalLinks true "Check for updates..." wordWrap true
       spacer Vertical 20x40
       QFrame frame Raised StyledPanel
        QHBoxLayout horizontalLayout spacing 6 margins 11
         spacer Horizontal 40x20
         QPushButton cancelCheck_pushButton "Cancel"
     QWidget page_2
      QVBoxLayout verticalLayout_5 spacing 6 margins 11
       QTextEdit updateInfo_textEdit readOnly true
       QFrame frame_2 Raised StyledPanel
        QHBoxLayout horizontalLayout_2 spacing 6 margins 11
         spacer Horizontal 40x20
         QPushButton updateNow_pushButton "Update Now"
         QPushButton remindMeLater_pushButton "Remind Me Later"
     QWidget page_3
      QVBoxLayout verticalLayout_3 spacing 6 margins 11
       spacer Vertical 20x40
       QLabel status_label openExternalLinks true "Downloading update,please wait..." wordWrap true
       QProgressBar progressBar value 24
       spacer Vertical 20x40
       QFrame frame_3 Raised StyledPanel
        QHBoxLayout horizontalLayout_3 spacing 6 margins 0
         spacer Horizontal 40x20
         QPushButton cancelDownload_pushButton "Cancel"
)";
}

void FormsTest::formIsAsTheStyleSheetKnowsIt()
{
    QFETCH(QString, form);
    QFETCH(QString, expected);

    const QStringList found = outline(readForm(form).firstChildElement(QStringLiteral("widget")));
    QCOMPARE(found, expected.trimmed().split(QLatin1Char('\n')));
}

void FormsTest::addFormRows()
{
    QTest::addColumn<QString>("form");
    for (const char *form : {"app/SkMainWindow", "app/MainWidget", "app/MyStatusBar", "ui/DownloaderWidget",
                             "ui/VideoUrlDialog", "ui/VideoInfo", "framework/SkDialog", "framework/SkMessageBox",
                             "framework/SkAboutDialog", "framework/SelectPathWidget", "update/LiveUpdateDialog"})
        QTest::newRow(form) << form;
}

void FormsTest::formCompilesWithoutWarnings_data()
{
    addFormRows();
}

void FormsTest::formCompilesWithoutWarnings()
{
    QFETCH(QString, form);

    QProcess uic;
    uic.start(QStringLiteral(FOURFOLD_UIC), {formPath(form)});
    QVERIFY2(uic.waitForFinished(), qPrintable(uic.errorString()));
    QCOMPARE(uic.exitCode(), 0);
    QCOMPARE(QString::fromLocal8Bit(uic.readAllStandardError()), QString());
    QVERIFY(uic.readAllStandardOutput().contains("void setupUi("));
}

void FormsTest::everyControlHasAName_data()
{
    addFormRows();
}

void FormsTest::everyControlHasAName()
{
    QFETCH(QString, form);

    // The page gives these two their texts itself.
    const QStringList namedInCode{QStringLiteral("addVideo"), QStringLiteral("addPlaylist")};
    static const QRegularExpression control(QStringLiteral("Button|Edit|Tree|Table|ProgressBar"));
    const QDomNodeList widgets = readForm(form).elementsByTagName(QStringLiteral("widget"));
    for (int i = 0; i < widgets.size(); ++i) {
        const QDomElement widget = widgets.at(i).toElement();
        const QString name = widget.attribute(QStringLiteral("name"));
        if (!widget.attribute(QStringLiteral("class")).contains(control) || namedInCode.contains(name))
            continue;
        const QMap<QString, QString> all = properties(widget);
        QVERIFY2(!all[QStringLiteral("text")].isEmpty() || !all[QStringLiteral("accessibleName")].isEmpty(),
                 qPrintable(name));
    }
}

void FormsTest::placeholdersNameTheirClasses()
{
    const auto promoted = [](const QString &form) {
        QStringList found;
        for (const QDomElement &widget : elements(readForm(form).firstChildElement(QStringLiteral("customwidgets"))))
            found << widget.firstChildElement(QStringLiteral("class")).text() + QLatin1Char(' ')
                    + widget.firstChildElement(QStringLiteral("header")).text();
        return found;
    };
    QCOMPARE(promoted(QStringLiteral("app/SkMainWindow")), QStringList{QStringLiteral("MainWidget app/MainWidget.h")});
    QCOMPARE(promoted(QStringLiteral("app/MainWidget")),
             (QStringList{QStringLiteral("DownloaderWidget ui/DownloaderWidget.h"),
                          QStringLiteral("MyStatusBar app/MyStatusBar.h")}));
}

void FormsTest::dialogButtonsAreReachedInOrder()
{
    QStringList order;
    for (const QDomElement &stop :
         elements(readForm(QStringLiteral("framework/SkDialog")).firstChildElement(QStringLiteral("tabstops"))))
        order << stop.text();
    const QString expected =
        QStringLiteral("ok_pushButton cancel_pushButton reset_pushButton close_pushButton minimize_pushButton");
    QCOMPARE(order.join(QLatin1Char(' ')), expected);
}

QTEST_APPLESS_MAIN(FormsTest)
#include "tst_forms.moc"
