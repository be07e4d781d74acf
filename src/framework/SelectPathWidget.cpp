#include "framework/SelectPathWidget.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

#include "ui_SelectPathWidget.h"

SelectPathWidget::SelectPathWidget(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::SelectPathWidget>())
{
    ui->setupUi(this);
    connect(ui->pushButton, &QPushButton::clicked, this, &SelectPathWidget::select);
}

SelectPathWidget::~SelectPathWidget() = default;

void SelectPathWidget::init(SlectType type, const QString &path, const QStringList &suffixes)
{
    m_type = type;
    m_path = path;

    m_filter += QStringLiteral("File (");
    for (const QString &suffix : suffixes)
        m_filter += QStringLiteral("*.") + suffix + QLatin1Char(' ');
    // The blank after the last suffix becomes the closing bracket.
    m_filter.back() = QLatin1Char(')');

    if (type == SlectType_Directory)
        ui->lineEdit->setText(path);
}

QString SelectPathWidget::currentPath() const
{
    return ui->lineEdit->text();
}

void SelectPathWidget::select()
{
    QString answer;
    switch (m_type) {
    case SlectType_Directory:
        answer = QFileDialog::getExistingDirectory(this, tr("Open Directory"), m_path,
                                                   QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
        if (!answer.isEmpty())
            m_path = answer;
        break;
    case SlectType_File:
        answer = QFileDialog::getOpenFileName(this, tr("Load File"), m_path, m_filter);
        if (!answer.isEmpty())
            m_path = QFileInfo(answer).absoluteDir().path();
        break;
    }

    if (answer.isEmpty())
        return;
    ui->lineEdit->setText(answer);
    emit dirPathChanged(m_path);
}
