#include "core/Shape.h"

Shape::Shape(int kind, const QString &name) : m_kind(kind), m_name(name)
{
    switch (kind) {
    case 1:
        m_points = std::make_unique<QList<QPointF>>();
        break;
    case 2:
        m_items = std::make_unique<QList<QRectF>>();
        break;
    case 3:
        m_block = std::make_unique<Block>(Block{});
        break;
    default:
        break;
    }
}

Shape::Shape(const Shape &other) : m_kind(other.m_kind), m_name(other.m_name)
{
    // The flag is not part of a copy: a copied shape starts afresh like a new one.
    if (other.m_points) m_points = std::make_unique<QList<QPointF>>(*other.m_points);
    if (other.m_items) m_items = std::make_unique<QList<QRectF>>(*other.m_items);
    if (other.m_block) m_block = std::make_unique<Block>(*other.m_block);
}

Shape &Shape::operator=(const Shape &other)
{
    if (this != &other) {
        Shape copy(other);
        m_kind = copy.m_kind;
        m_name = std::move(copy.m_name);
        m_flag = 0;
        m_points = std::move(copy.m_points);
        m_items = std::move(copy.m_items);
        m_block = std::move(copy.m_block);
    }
    return *this;
}

Shape::~Shape() = default;
