#pragma once

/// Stands in for the header of a chip vendor's SDK. It is made up for this example: three functions
/// that keep up to two ranges on one chip. Each gives 0, or one of the negative codes.

enum
{
    CHIP_FULL = -6,
    CHIP_NOT_FOUND = -7,
};

/// Which field of a packet a range is tested against.
enum
{
    CHIP_FIELD_SOURCE_PORT = 40,
    CHIP_FIELD_DESTINATION_PORT = 41,
    CHIP_FIELD_LENGTH = 47,
};

struct chip_range
{
    unsigned low;
    unsigned high;
    int field;
};

/// Adds a range and writes its id.
int chip_range_add( int chip, const chip_range* range, unsigned* id );
int chip_range_remove( int chip, unsigned id );
/// Writes what was added under an id.
int chip_range_read( int chip, unsigned id, chip_range* range );
