#include <QAbstractButton>
#include <QApplication>
#include <QGenericPlugin>
#include <QLabel>
#include <QLineEdit>
#include <QSocketNotifier>
#include <QTableWidget>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QTreeWidget>

#include <cstdio>

#include <unistd.h>

namespace {

QWidget *openWindow(const char *className)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *window : windows) {
        if (window->inherits(className) && window->isVisible())
            return window;
    }
    return nullptr;
}

template <class W> W *part(const QWidget *window, const char *objectName)
{
    return window->findChild<W *>(QString::fromLatin1(objectName));
}

void say(const QStringList &fields)
{
    QString line = fields.join(QLatin1Char('\t'));
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace

// Plays the person in front of an unchanged application. Every line of standard input is the address of a page to
// paste, whose first format is picked; message boxes are confirmed. What there is to read goes to standard output, one
// line each time it changes: "ready", "message" and its text, "row" with number, bytes, progress and tool tip.
class Hand final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Hand)

public:
    Hand()
        : m_input(STDIN_FILENO, QSocketNotifier::Read)
    {
        // Its clicks come in quick succession, and none is the second half of a double-click.
        QApplication::setDoubleClickInterval(0);
        connect(&m_input, &QSocketNotifier::activated, this, &Hand::readCommands);
        scheduleLook();
    }

private:
    void readCommands()
    {
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof(bytes));
        if (count <= 0) {
            // Whoever gave the commands is gone.
            m_input.setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        m_commands += QByteArray(bytes, int(count));
    }

    // A timer does not fire again inside its own slot, and clicks open dialogs that run inside it.
    void scheduleLook()
    {
        QTimer::singleShot(5, this, [this] {
            scheduleLook();
            look();
        });
    }

    void look()
    {
        const QWidget *window = openWindow("SkMainWindow");
        if (!window)
            return;
        tell(-1, {QStringLiteral("ready")});
        const auto *list = part<QTreeWidget>(window, "treeWidget");
        for (int i = 0; i < list->topLevelItemCount(); ++i) {
            const QTreeWidgetItem *row = list->topLevelItem(i);
            tell(i, {QStringLiteral("row"), QString::number(i), row->text(4), row->text(5), row->toolTip(5)});
        }

        if (const QWidget *box = openWindow("SkMessageBox")) {
            const auto text = QTextDocumentFragment::fromHtml(part<QLabel>(box, "text_label")->text()).toPlainText();
            say({QStringLiteral("message"), text});
            part<QAbstractButton>(box, "ok_pushButton")->click();
        } else if (const QWidget *formats = openWindow("VideoInfo")) {
            auto *button =
                qobject_cast<QAbstractButton *>(part<QTableWidget>(formats, "tableWidget")->cellWidget(0, 6));
            if (button && formats != m_answered) {
                m_answered = formats;
                button->click();
            }
        } else if (const QWidget *dialog = openWindow("VideoUrlDialog")) {
            const QString address = std::exchange(m_address, QString());
            if (!address.isEmpty()) {
                part<QLineEdit>(dialog, "urlLineEdit")->setText(address);
                part<QAbstractButton>(dialog, "btnGo")->setEnabled(true);
                part<QAbstractButton>(dialog, "btnGo")->click();
            }
        } else if (m_commands.contains('\n')) {
            m_answered = nullptr;
            const int end = m_commands.indexOf('\n');
            m_address = QString::fromUtf8(m_commands.left(end));
            m_commands.remove(0, end + 1);
            part<QAbstractButton>(window, "addVideo")->click();
        }
    }

    void tell(int about, const QStringList &fields)
    {
        if (m_told.value(about) == fields)
            return;
        m_told.insert(about, fields);
        say(fields);
    }

    QSocketNotifier m_input;
    QByteArray m_commands;
    QString m_address;
    const QWidget *m_answered = nullptr;
    QMap<int, QStringList> m_told;
};

class HandPlugin final : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "Hand.json")

public:
    QObject *create(const QString &, const QString &) override { return new Hand; }
};

#include "Hand.moc"
