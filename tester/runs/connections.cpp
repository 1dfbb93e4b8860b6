#include "tester/runs/connections.h"

#include "tester/terminal/input.h"

#include <iostream>
#include <iterator>

namespace {

struct Connection {
    const char* line_h;
    const char* line_x;
    QVL_PhaseMeasure measure;
    QVL_PhaseShort shorted;
};

// Choices 1 to 9.
constexpr Connection C_Connections[] = {
    {"1. Ratio Phase H1-H2",      "1. Ratio Phase X1-X2",      QVL_Measure_1_2, QVL_Short_None},
    {"2. Ratio Phase H2-H3",      "2. Ratio Phase X2-X3",      QVL_Measure_2_3, QVL_Short_None},
    {"3. Ratio Phase H1-H3",      "3. Ratio Phase X1-X3",      QVL_Measure_1_3, QVL_Short_None},
    {"4. Ratio Phase H1-H0",      "4. Ratio Phase X1-X0",      QVL_Measure_1_0, QVL_Short_None},
    {"5. Ratio Phase H2-H0",      "5. Ratio Phase X2-X0",      QVL_Measure_2_0, QVL_Short_None},
    {"6. Ratio Phase H3-H0",      "6. Ratio Phase X3-X0",      QVL_Measure_3_0, QVL_Short_None},
    {"7. Ratio Phase H1-(H2+H3)", "7. Ratio Phase X1-(X2+X3)", QVL_Measure_1_2, QVL_Short_2   },
    {"8. Ratio Phase H2-(H1+H3)", "8. Ratio Phase X2-(X1+X3)", QVL_Measure_2_3, QVL_Short_3   },
    {"9. Ratio Phase H3-(H1+H2)", "9. Ratio Phase X3-(X1+X2)", QVL_Measure_1_3, QVL_Short_1   },
};

void select_connection(const char* const Connection::*line, QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted) {
    for (const Connection& connection : C_Connections) std::cout << connection.*line << std::endl;
    const int choice = input_int();
    const Connection& chosen = C_Connections[choice >= 1 && choice <= std::ssize(C_Connections) ? choice - 1 : 0];
    *measure = chosen.measure;
    *shorted = chosen.shorted;
}

}  // namespace

void SelectConnectionH(QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted) {
    select_connection(&Connection::line_h, measure, shorted);
}

void SelectConnectionX(QVL_PhaseMeasure* measure, QVL_PhaseShort* shorted) {
    select_connection(&Connection::line_x, measure, shorted);
}
