#pragma once

#include <QList>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <array>
#include <memory>

// An annotation attached to an image record. Only the payload of its kind exists:
// kind 1 a point list (peak finders), kind 2 an item list and kind 3 one selection
// block (data-entry control). Any other kind carries no payload.
class Shape
{
public:
    using Block = std::array<double, 4>;

    explicit Shape(int kind, const QString &name = QString());
    Shape(const Shape &other);
    Shape &operator=(const Shape &other);
    ~Shape();

    int kind() const { return m_kind; }
    const QString &name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }
    int flag() const { return m_flag; }
    void setFlag(int flag) { m_flag = flag; }

    // Null unless the shape is of the matching kind.
    QList<QPointF> *points() { return m_points.get(); }
    const QList<QPointF> *points() const { return m_points.get(); }
    QList<QRectF> *items() { return m_items.get(); }
    const QList<QRectF> *items() const { return m_items.get(); }
    Block *block() { return m_block.get(); }
    const Block *block() const { return m_block.get(); }

private:
    int m_kind = 0;
    QString m_name;
    int m_flag = 0;
    std::unique_ptr<QList<QPointF>> m_points;
    std::unique_ptr<QList<QRectF>> m_items;
    std::unique_ptr<Block> m_block;
};
