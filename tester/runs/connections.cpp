#include "tester/runs/connections.h"

#include "tester/terminal/choice.h"

#include <cstddef>

namespace {

struct Connection {
    QVL_PhaseMeasure measure;
    QVL_PhaseShort shorted;
};

constexpr Connection C_FirstConnection = {QVL_Measure_1_2, QVL_Short_None};

constexpr Choice<Connection> C_ConnectionsH[] = {
    {1, "1. Ratio Phase H1-H2",      C_FirstConnection                },
    {2, "2. Ratio Phase H2-H3",      {QVL_Measure_2_3, QVL_Short_None}},
    {3, "3. Ratio Phase H1-H3",      {QVL_Measure_1_3, QVL_Short_None}},
    {4, "4. Ratio Phase H1-H0",      {QVL_Measure_1_0, QVL_Short_None}},
    {5, "5. Ratio Phase H2-H0",      {QVL_Measure_2_0, QVL_Short_None}},
    {6, "6. Ratio Phase H3-H0",      {QVL_Measure_3_0, QVL_Short_None}},
    {7, "7. Ratio Phase H1-(H2+H3)", {QVL_Measure_1_2, QVL_Short_2}   },
    {8, "8. Ratio Phase H2-(H1+H3)", {QVL_Measure_2_3, QVL_Short_3}   },
    {9, "9. Ratio Phase H3-(H1+H2)", {QVL_Measure_1_3, QVL_Short_1}   },
};

constexpr Choice<Connection> C_ConnectionsX[] = {
    {1, "1. Ratio Phase X1-X2",      C_FirstConnection                },
    {2, "2. Ratio Phase X2-X3",      {QVL_Measure_2_3, QVL_Short_None}},
    {3, "3. Ratio Phase X1-X3",      {QVL_Measure_1_3, QVL_Short_None}},
    {4, "4. Ratio Phase X1-X0",      {QVL_Measure_1_0, QVL_Short_None}},
    {5, "5. Ratio Phase X2-X0",      {QVL_Measure_2_0, QVL_Short_None}},
    {6, "6. Ratio Phase X3-X0",      {QVL_Measure_3_0, QVL_Short_None}},
    {7, "7. Ratio Phase X1-(X2+X3)", {QVL_Measure_1_2, QVL_Short_2}   },
    {8, "8. Ratio Phase X2-(X1+X3)", {QVL_Measure_2_3, QVL_Short_3}   },
    {9, "9. Ratio Phase X3-(X1+X2)", {QVL_Measure_1_3, QVL_Short_1}   },
};

template <std::size_t Count>
void select_connection(const Choice<Connection> (&connections)[Count], QVL_PhaseMeasure* measure,
                       QVL_PhaseShort* shorted) {
    const Connection chosen = choose(connections).value_or(C_FirstConnection);
    *measure = chosen.measure;
    *shorted = chosen.shorted;
}

}  // namespace

void SelectConnectionH(QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted) {
    select_connection(C_ConnectionsH, measure, shorted);
}

void SelectConnectionX(QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted) {
    select_connection(C_ConnectionsX, measure, shorted);
}
