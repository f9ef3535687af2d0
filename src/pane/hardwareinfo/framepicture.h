// The self-test drawn as the panel's frame: each area a strip along its edge (outer half the
// LEDs, inner half the sensors) coloured by its verdict, failed points marked where they sit,
// and a legend. The accessible description says the same in words.
#pragma once

#include <QString>
#include <QWidget>

#include <optional>

#include "selftest.h"

namespace tavix {

class FramePicture : public QWidget {
    Q_OBJECT

  public:
    enum class Edge { Top, Bottom, Left, Right };

    explicit FramePicture(QWidget *parent = nullptr);

    // Shows a judgement against its model's layout; nullopt clears the picture.
    void setResult(const std::optional<DeviceEntry> &entry, const SelfTestJudgement &judgement);
    // The description in words (also the accessible description).
    QString describe() const;

    // The edge an area sits on: by its label ("Top 1", "links"...), else in turn.
    static Edge edgeOf(const std::string &label, std::size_t position);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent *event) override;

  private:
    std::optional<DeviceEntry> entry_;
    SelfTestJudgement judgement_;
};

}  // namespace tavix
