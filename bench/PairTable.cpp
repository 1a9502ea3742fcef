#include "bench/PairTable.h"

#include <iomanip>
#include <sstream>
#include <utility>
#include <vector>

namespace Bench {

namespace {

std::vector< Row >& rows()
{
    static std::vector< Row > all;
    return all;
}

std::string inDecimal( double value, int digits )
{
    std::ostringstream text;
    text << std::fixed << std::setprecision( digits ) << value;
    return std::move( text ).str();
}

void printCells( std::ostream& stream, const std::vector< std::string >& cells )
{
    constexpr int nameWidth = 54;
    constexpr int cellWidth = 10;
    stream << std::left << std::setw( nameWidth ) << cells.front() << std::right;
    for ( std::size_t i = 1; i < cells.size(); ++i ) {
        stream << std::setw( cellWidth ) << cells[ i ];
    }
    stream << '\n';
}

std::string budgetText( const Budget& budget )
{
    if ( budget.ratio != 0 ) {
        return inDecimal( budget.ratio, 2 );
    }
    return budget.nanoseconds != 0 ? inDecimal( budget.nanoseconds, 0 ) + " ns" : "-";
}

/// A count of instructions, if there is one.
std::string countText( const InstructionCounts& counts, const std::string& benchmark )
{
    const auto count = counts.find( benchmark );
    return count == counts.end() ? "-" : inDecimal( count->second, 0 );
}

/// How often the floor's instructions ours are; 0 where they were not counted.
double instructionRatio( const Row& row, const InstructionCounts& counts )
{
    const auto ours = counts.find( oursOf( row ) );
    const auto floor = counts.find( floorOf( row ) );
    return ours == counts.end() || floor == counts.end() ? 0 : ours->second / floor->second;
}

/// A number of times, if it is known.
std::string ratioText( double ratio )
{
    return ratio == 0 ? "-" : inDecimal( ratio, 2 );
}

/// Prints a row; false when it is over its budget.
bool printRow( std::ostream& stream,
               const Row& row,
               const Measurement& ours,
               double floor,
               const InstructionCounts& instructions )
{
    const double ratio = ours.nanoseconds / floor;
    const double counted = instructionRatio( row, instructions );
    const bool isOver =
        ( row.budget.ratio != 0 && ratio > row.budget.ratio ) ||
        ( row.budget.instructions != 0 && counted > row.budget.instructions ) ||
        ( row.budget.nanoseconds != 0 && ours.nanoseconds > row.budget.nanoseconds );
    printCells( stream,
                { row.name, inDecimal( ours.nanoseconds, 1 ),
                  row.hasFloor ? inDecimal( floor, 1 ) : "-",
                  row.hasFloor ? inDecimal( ratio, 2 ) : "-", budgetText( row.budget ),
                  inDecimal( ours.allocations, 2 ), countText( instructions, oursOf( row ) ),
                  countText( instructions, floorOf( row ) ), ratioText( counted ),
                  ratioText( row.budget.instructions ), isOver ? "OVER" : "" } );
    return !isOver;
}

} // namespace

std::string oursOf( const Row& row )
{
    return row.name + "/ours";
}

std::string floorOf( const Row& row )
{
    return row.name + "/floor";
}

void Detail::addRow( const Row& row )
{
    rows().push_back( row );
}

bool printPairTable( std::ostream& stream,
                     const Measurements& measurements,
                     const InstructionCounts& instructions )
{
    bool allWithin = true;
    printCells( stream, { "operation", "ours ns", "floor ns", "ratio", "budget", "allocs/op",
                          "instr", "by hand", "ratio", "budget", "" } );
    for ( const Row& row : rows() ) {
        const auto ours = measurements.find( oursOf( row ) );
        const auto floor = measurements.find( row.hasFloor ? floorOf( row ) : oursOf( row ) );
        if ( ours == measurements.end() || floor == measurements.end() ) {
            continue;
        }
        allWithin =
            printRow( stream, row, ours->second, floor->second.nanoseconds, instructions ) &&
            allWithin;
    }
    return allWithin;
}

} // namespace Bench
