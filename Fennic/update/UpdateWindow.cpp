#include "UpdateWindow.h"

#include "SabloKit/Updater.h"
#include "UpdateTexts.h"
#include "theme/Labels.h"

#include <QApplication>
#include <QCheckBox>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

namespace fennic {

UpdateWindow::UpdateWindow(Updater& updater, QWidget* parent) : QDialog(parent), m_updater(updater)
{
    setObjectName(QStringLiteral("update"));
    setWindowTitle(QStringLiteral("Software Update"));
    setAccessibleName(QStringLiteral("Software Update"));
    setModal(false);
    setFixedWidth(420);

    m_icon = new QLabel(this);
    const QIcon appIcon =
        QApplication::windowIcon().isNull() ? QIcon::fromTheme(QStringLiteral("system-software-update"))
                                            : QApplication::windowIcon();
    m_icon->setPixmap(appIcon.pixmap(56, 56));
    m_icon->setAlignment(Qt::AlignTop);
    m_headline = plainLabel(QString(), this);
    m_headline->setWordWrap(true);
    scaleFont(m_headline, 1.2, true);
    m_status = plainLabel(QString(), this);
    m_status->setWordWrap(true);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);

    m_notes = new QTextBrowser(this);
    m_notes->setAccessibleName(QStringLiteral("Release notes"));
    m_notes->setOpenExternalLinks(true);
    m_notes->setMinimumHeight(150);

    m_progress = new QProgressBar(this);
    m_progress->setAccessibleName(QStringLiteral("Download progress"));
    m_progress->setRange(0, 100);

    m_automatic = new QCheckBox(QStringLiteral("Download updates automatically"), this);
    m_automatic->setAccessibleName(m_automatic->text());
    m_automatic->setChecked(updater.automaticallyDownloads());
    connect(m_automatic, &QCheckBox::toggled, &updater, &Updater::setAutomaticallyDownloads);
    connect(&updater, &Updater::automaticallyDownloadsChanged, this,
            [this] { m_automatic->setChecked(m_updater.automaticallyDownloads()); });

    m_page = new QPushButton(QStringLiteral("Release Page"), this);
    m_page->setAccessibleName(QStringLiteral("Open the release page"));
    m_page->setFlat(true);
    connect(m_page, &QPushButton::clicked, this, [this] { QDesktopServices::openUrl(QUrl(m_updater.releasePage())); });
    m_later = new QPushButton(QStringLiteral("Later"), this);
    m_later->setAccessibleName(QStringLiteral("Later"));
    connect(m_later, &QPushButton::clicked, this, &QDialog::reject);
    m_main = new QPushButton(this);
    m_main->setDefault(true);
    connect(m_main, &QPushButton::clicked, this, &UpdateWindow::runMainStep);

    auto* top = new QHBoxLayout;
    top->setSpacing(14);
    top->addWidget(m_icon);
    auto* words = new QVBoxLayout;
    words->setSpacing(4);
    words->addWidget(m_headline);
    words->addWidget(m_status);
    top->addLayout(words, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_page);
    buttons->addStretch(1);
    buttons->addWidget(m_later);
    buttons->addWidget(m_main);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(18, 18, 18, 14);
    column->setSpacing(12);
    column->addLayout(top);
    column->addWidget(m_notes);
    column->addWidget(m_progress);
    column->addWidget(m_automatic);
    column->addLayout(buttons);

    connect(&updater, &Updater::phaseChanged, this, &UpdateWindow::refresh);
    refresh();
}

void UpdateWindow::refresh()
{
    using Phase = Updater::Phase;
    const Phase phase = m_updater.phase();
    setLabelText(m_headline, UpdateTexts::headline(m_updater));
    const QString status = m_updater.isEnabled() ? UpdateTexts::status(m_updater) : m_updater.idleReason();
    setLabelText(m_status, status);
    m_status->setVisible(!status.isEmpty());

    const bool offered = phase == Phase::available || phase == Phase::downloading || phase == Phase::ready;
    m_notes->setVisible(offered && !m_updater.notes().isEmpty());
    if (m_notes->toPlainText() != m_updater.notes()) m_notes->setPlainText(m_updater.notes());
    m_page->setVisible(offered && !m_updater.releasePage().isEmpty());

    m_progress->setVisible(phase == Phase::checking || phase == Phase::downloading);
    if (phase == Phase::checking) {
        m_progress->setRange(0, 0);  // busy: a feed's size is not known ahead
    } else {
        m_progress->setRange(0, 100);
        m_progress->setValue(int(m_updater.fraction() * 100));
    }
    m_automatic->setEnabled(m_updater.isEnabled());

    QString step;
    switch (phase) {
    case Phase::available: step = QStringLiteral("Download"); break;
    case Phase::ready: step = QStringLiteral("Install and Relaunch"); break;
    case Phase::failed: step = QStringLiteral("Try Again"); break;
    case Phase::idle:
    case Phase::upToDate:
    case Phase::checking:
    case Phase::downloading: step = QStringLiteral("Check Again"); break;
    }
    m_main->setText(step);
    setSpokenName(m_main, step);
    m_main->setEnabled(m_updater.isEnabled() && phase != Phase::checking && phase != Phase::downloading);
    m_later->setText(phase == Phase::upToDate || phase == Phase::idle ? QStringLiteral("Close")
                                                                      : QStringLiteral("Later"));
    setSpokenName(m_later, m_later->text());
    adjustSize();
}

void UpdateWindow::runMainStep()
{
    using Phase = Updater::Phase;
    switch (m_updater.phase()) {
    case Phase::available: m_updater.download(); break;
    case Phase::ready: m_updater.installAndRelaunch(); break;
    case Phase::failed:
        // A failed download is tried again; a failed check checks again.
        if (m_updater.feed())
            m_updater.download();
        else
            m_updater.checkNow();
        break;
    default: m_updater.checkNow(); break;
    }
}

}  // namespace fennic
