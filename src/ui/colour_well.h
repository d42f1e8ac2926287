// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAbstractButton>
#include <QColorDialog>
#include <QPointer>
#include <functional>

namespace lumivastor::ui {

/// A button that shows a colour and opens a dialog to choose another, which takes effect while the dialog is open. It
/// keeps the exact components that are set until the user chooses a colour.
class ColourWell final : public QAbstractButton {
  public:
    /// sRGB, 0 to 1 each.
    struct Components {
        double red = 0, green = 0, blue = 0;

        bool operator==(const Components&) const = default;
    };

    explicit ColourWell(QWidget* parent = nullptr);

    const Components& components() const { return components_; }
    /// Does not call `onChoose`.
    void setComponents(const Components& components);

    /// Sets a colour as the user does.
    void choose(const QColor& colour);
    /// The user has chosen another colour.
    std::function<void()> onChoose;

    /// The dialog while it is open, otherwise null.
    QColorDialog* dialog() const { return dialog_; }

    QSize sizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void openDialog();

    Components components_;
    QPointer<QColorDialog> dialog_;
};

}  // namespace lumivastor::ui
