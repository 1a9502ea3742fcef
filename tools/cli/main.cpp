#include "tools/cli/CommandLine.h"

int main( int argumentCount, char** arguments )
{
    return Tool::runCommandLine( argumentCount, arguments );
}
