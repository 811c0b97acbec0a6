#pragma once

#include <QList>
#include <QString>

#include <functional>

// One weighted image of a formula: coefficient times the image of entry `number`, found at
// position `source` of the caller's list.
struct CalcTerm
{
    double coefficient = 1.0;
    int number = 0;
    int source = -1;
};

// A numerator or denominator formula such as "2I[1]-0.5*I[2]", read into terms.
class CalcFormula
{
public:
    // Maps an entry number to a position in the caller's list; -1 drops the term.
    using Lookup = std::function<int(int number)>;

    // Terms read before a syntax error are kept; the formula is then invalid.
    static CalcFormula parse(const QString &text, const Lookup &sourceOf);

    // The formula naming the entries `numbers` in order, keeping the coefficients that
    // `current` gives the same entry numbers.
    static QString rewritten(const QList<int> &numbers, const QList<CalcTerm> &current);

    const QList<CalcTerm> &terms() const { return m_terms; }
    bool isValid() const { return m_valid; }
    bool isEmpty() const { return m_terms.isEmpty(); }

private:
    QList<CalcTerm> m_terms;
    bool m_valid = false;
};
