// SPDX-License-Identifier: GPL-3.0-or-later
#include "editor/exports/export_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "ui/text_labels.h"
#include "ui/theme.h"

namespace lumivastor::editor {

namespace {

constexpr int kWidth = 480;

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

QPushButton* button(const QString& title, const char* name, const QString& tip, const char* role) {
    auto* made = new QPushButton(title);
    made->setObjectName(name);
    made->setAccessibleName(title);
    made->setToolTip(tip);
    if (role != nullptr) made->setProperty("role", role);
    return made;
}

void choose(QComboBox& box, const QVariant& value) {
    const QSignalBlocker quiet(&box);
    box.setCurrentIndex(std::max(0, box.findData(value)));
}

}  // namespace

ExportDialog::ExportDialog(QWidget& window, const FilmFacts& film, const ExportChoice& choice, Callbacks callbacks)
    : QDialog(&window),
      film_(film),
      choice_(choice),
      callbacks_(std::move(callbacks)),
      rows_(new QFormLayout),
      form_(box("exportFormBox", "Form", "In welcher Form das Video geschrieben wird")),
      height_(box("exportHeightBox", "Höhe", "Zeilen des Videos")),
      chapters_(new QCheckBox("Marken als Kapitel")),
      width_(box("exportWidthBox", "Breite", "Breite des bewegten Bildes in Pixeln")),
      rate_(box("exportRateBox", "Bilder je Sekunde", "Mehr Bilder bewegen sich ruhiger und brauchen mehr Platz")),
      from_(secondsBox("exportFromBox", "Ab", "Wo im Film das bewegte Bild beginnt")),
      to_(secondsBox("exportToBox", "Bis", "Wo im Film das bewegte Bild endet, höchstens 30 Sekunden später")),
      name_(new QLineEdit),
      folder_(new ui::ElidedLabel),
      note_(new QLabel),
      fault_(new QLabel),
      exportButton_(button("Exportieren", "exportButton", "Den Export in die Warteschlange stellen", "main")) {
    setObjectName("exportDialog");
    setWindowTitle("Exportieren als");
    for (const FormName& each : formNames()) form_->addItem(text(each.name), static_cast<int>(each.form));
    for (const int height : {1080, 1440, 2160}) height_->addItem(QString("%1p").arg(height), height);
    for (const int width : kAnimationWidths) width_->addItem(QString("%1 Pixel").arg(width), width);
    for (const int rate : kAnimationRates) rate_->addItem(QString::number(rate), rate);
    choose(*form_, static_cast<int>(choice_.form));
    choose(*height_, static_cast<int>(choice_.height));
    choose(*width_, choice_.animation.width);
    choose(*rate_, choice_.animation.rate);
    from_->setValue(choice_.animation.from);
    to_->setValue(choice_.animation.to.value_or(film_.seconds));
    build();
    isBuilt_ = true;
    formChanged();
    name_->setFocus();
    name_->setSelection(0, static_cast<int>(choice_.file.stem().string().size()));
}

QComboBox* ExportDialog::box(const char* name, const QString& accessible, const QString& tip) {
    auto* made = new QComboBox;
    made->setObjectName(name);
    made->setAccessibleName(accessible);
    made->setToolTip(tip);
    connect(made, &QComboBox::currentIndexChanged, this, [this, made] {
        if (made == form_) return formChanged();
        changed();
    });
    return made;
}

QDoubleSpinBox* ExportDialog::secondsBox(const char* name, const QString& accessible, const QString& tip) {
    auto* made = new QDoubleSpinBox;
    made->setObjectName(name);
    made->setAccessibleName(accessible);
    made->setToolTip(tip);
    made->setDecimals(1);
    made->setSuffix(" s");
    made->setLocale(QLocale::c());
    made->setButtonSymbols(QAbstractSpinBox::NoButtons);  // the arrow keys and the wheel do it
    made->setRange(0, film_.seconds);
    connect(made, &QDoubleSpinBox::valueChanged, this, [this] { changed(); });
    return made;
}

void ExportDialog::addRow(const QString& caption, QWidget* control) {
    auto* label = new QLabel(caption);
    label->setBuddy(control);
    rows_->addRow(label, control);
}

void ExportDialog::build() {
    name_->setObjectName("exportNameField");
    name_->setAccessibleName("Name");
    name_->setToolTip("Wie die Datei heißt");
    connect(name_, &QLineEdit::textChanged, this, [this] { changed(); });
    folder_->setObjectName("exportFolderLabel");
    folder_->setAccessibleName("Ordner");
    note_->setObjectName("exportNote");
    note_->setProperty("role", "second");
    note_->setWordWrap(true);
    fault_->setObjectName("exportFault");
    fault_->setWordWrap(true);

    rows_->setLabelAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    rows_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    rows_->setHorizontalSpacing(ui::theme::kMargin);
    rows_->setVerticalSpacing(ui::theme::kNear);
    addRow("Form", form_);
    addRow("Höhe", height_);
    chapters_->setObjectName("exportChaptersBox");
    chapters_->setToolTip("Abspielprogramme springen dann zu den Stellen, die beim Aufnehmen markiert wurden");
    chapters_->setChecked(choice_.chapters);
    connect(chapters_, &QCheckBox::toggled, this, [this] { changed(); });
    rows_->addRow("", chapters_);
    addRow("Breite", width_);
    addRow("Bilder je Sekunde", rate_);
    addRow("Ab", from_);
    addRow("Bis", to_);
    addRow("Name", name_);
    auto* place = new QWidget;
    auto* placeRow = new QHBoxLayout(place);
    placeRow->setContentsMargins(0, 0, 0, 0);
    placeRow->setSpacing(ui::theme::kNear);
    placeRow->addWidget(folder_, 1);
    auto* folderButton = button("Ordner …", "exportFolderButton", "Einen anderen Ordner wählen", nullptr);
    connect(folderButton, &QPushButton::clicked, this, [this] { chooseFolder(); });
    placeRow->addWidget(folderButton);
    addRow("Ordner", place);

    auto* cancelButton = button("Abbrechen", "exportCancelButton", "Nichts exportieren", "bottom");
    connect(cancelButton, &QPushButton::clicked, this, [this] { reject(); });
    connect(exportButton_, &QPushButton::clicked, this, [this] { attempt(); });
    folderButton->setAutoDefault(false);
    cancelButton->setAutoDefault(false);
    exportButton_->setDefault(true);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(ui::theme::kNear);
    buttons->addStretch(1);
    buttons->addWidget(cancelButton);
    buttons->addWidget(exportButton_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin, ui::theme::kMargin);
    layout->setSpacing(ui::theme::kApart);
    layout->addLayout(rows_);
    layout->addWidget(note_);
    layout->addWidget(fault_);
    layout->addStretch(1);
    layout->addLayout(buttons);
    const int room = screen()->availableSize().width() * 9 / 10;
    setMinimumWidth(std::min(static_cast<int>(kWidth * ui::theme::typeFactor(font())), room));
}

void ExportDialog::formChanged() {
    if (!isBuilt_) return;
    choice_ = withForm(choice_, static_cast<render::FilmForm>(form_->currentData().toInt()));
    const bool isAnimation = render::isAnimation(choice_.form);
    rows_->setRowVisible(height_, !isAnimation);
    rows_->setRowVisible(chapters_, offersChapters(choice_, film_));
    for (QWidget* each : {static_cast<QWidget*>(width_), static_cast<QWidget*>(rate_), static_cast<QWidget*>(from_),
                          static_cast<QWidget*>(to_)}) {
        rows_->setRowVisible(each, isAnimation);
    }
    const QSignalBlocker quiet(name_);
    name_->setText(text(choice_.file.filename().string()));
    changed();
    adjustSize();
}

void ExportDialog::changed() {
    if (!isBuilt_) return;
    choice_.height = height_->currentData().toInt();
    choice_.chapters = chapters_->isChecked() && offersChapters(choice_, film_);
    choice_.animation.width = width_->currentData().toInt();
    choice_.animation.rate = rate_->currentData().toInt();
    choice_.animation.from = from_->value();
    // The box shows tenths; the end is the film's own.
    const bool isEnd = to_->value() >= to_->maximum();
    choice_.animation.to = isEnd ? film_.seconds : to_->value();
    const std::filesystem::path folder = choice_.file.parent_path();
    choice_.file = folder / withExtension(name_->text().toStdString(), choice_.form);
    folder_->setFullText(text(folder.string()));
    note_->setText(text(choiceNote(choice_, film_)));
    const std::string fault = callbacks_.obstacle(choice_);
    fault_->setText(text(fault));
    fault_->setVisible(!fault.empty());
    exportButton_->setEnabled(fault.empty());
}

void ExportDialog::chooseFolder() {
    auto* panel = new QFileDialog(this, "Ordner für den Export");
    panel->setObjectName("exportFolderDialog");
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::Directory);
    panel->setOption(QFileDialog::ShowDirsOnly);
    panel->setLabelText(QFileDialog::Accept, "Wählen");
    panel->setLabelText(QFileDialog::Reject, "Abbrechen");
    panel->setLabelText(QFileDialog::FileName, "Ordner:");
    panel->setLabelText(QFileDialog::LookIn, "In:");
    panel->setLabelText(QFileDialog::FileType, "Art:");
    panel->setDirectory(text(choice_.file.parent_path().string()));
    connect(panel, &QFileDialog::fileSelected, this, [this](const QString& folder) {
        choice_.file = std::filesystem::path(folder.toStdString()) / choice_.file.filename();
        changed();
    });
    panel->open();
}

void ExportDialog::attempt() {
    changed();  // the file system may have changed
    if (!exportButton_->isEnabled()) return;
    if (!replacesFile(choice_)) return finish();
    auto* question = new QMessageBox(this);
    question->setObjectName("exportReplaceDialog");
    question->setAttribute(Qt::WA_DeleteOnClose);
    question->setWindowTitle("Exportieren als");
    question->setTextFormat(Qt::PlainText);
    question->setText(
        text("Es gibt schon eine Datei „" + choice_.file.filename().string() + "“. Soll sie ersetzt werden?"));
    const QPushButton* replace = question->addButton("Ersetzen", QMessageBox::AcceptRole);
    question->setDefaultButton(question->addButton("Abbrechen", QMessageBox::RejectRole));
    connect(replace, &QPushButton::clicked, this, [this] { finish(); });
    question->open();
}

void ExportDialog::finish() {
    accept();
    callbacks_.exportAs(choice_);
}

}  // namespace lumivastor::editor
