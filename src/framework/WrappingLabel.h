#pragma once

#include <QLabel>

// A label whose plain text also breaks within a word, where that fits in no other way. Rich text is shown as QLabel
// does.
class WrappingLabel final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WrappingLabel)

public:
    explicit WrappingLabel(QWidget *parent = nullptr);

    [[nodiscard]] int heightForWidth(int width) const override;
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    [[nodiscard]] bool isPlain() const;
    [[nodiscard]] QSize margins() const;
};
