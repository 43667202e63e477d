// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace tarrafa::app {

// An indeterminate, spinning progress indicator of the large size: a ring of fading
// spokes drawn in the text colour. It turns only while visible and lets every click
// through to what lies under it.
class IndicadorDeProgresso final : public QWidget {
    Q_OBJECT

public:
    explicit IndicadorDeProgresso(QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* evento) override;
    void timerEvent(QTimerEvent* evento) override;
    void showEvent(QShowEvent* evento) override;
    void hideEvent(QHideEvent* evento) override;

private:
    QBasicTimer relogio_;
    int passo_ = 0;
};

} // namespace tarrafa::app
