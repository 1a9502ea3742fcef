// The reader of scenarios: a text is refused with a position inside of it, or gives a scenario
// with steps, which is not run.

#include "tests/fuzz/FuzzTarget.h"
#include "tests/fuzz/InputErrors.h"
#include "tools/scenario/Scenario.h"
#include "tools/steps/StepKinds.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace Fuzz {
namespace {

/// The file that the reader reads: a scenario names other files from where it stands. It has a
/// folder of its own, which goes with the process.
class ScenarioFile
{
  public:
    ScenarioFile()
    {
        std::string name = std::filesystem::temp_directory_path() / "pelora-fuzz-XXXXXX";
        require( ::mkdtemp( name.data() ) != nullptr, "a folder for the scenario can be made" );
        folder_ = name;
    }

    ScenarioFile( const ScenarioFile& ) = delete;
    ScenarioFile& operator=( const ScenarioFile& ) = delete;

    ~ScenarioFile()
    {
        std::error_code ignored;
        std::filesystem::remove_all( folder_, ignored );
    }

    /// Writes the file and gives its path.
    [[nodiscard]] std::string holding( std::string_view text ) const
    {
        const std::string path = folder_ / "scenario.yaml";
        std::ofstream stream( path, std::ios::binary );
        stream.write( text.data(), static_cast< std::streamsize >( text.size() ) );
        stream.close();
        require( stream.good(), "the scenario can be written" );
        return path;
    }

  private:
    std::filesystem::path folder_;
};

} // namespace
} // namespace Fuzz

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* data, std::size_t size )
{
    static const Fuzz::ScenarioFile file;
    const std::string_view text = Fuzz::textOf( data, size );
    const std::string path = file.holding( text );
    const auto read = [ & ] {
        const Tool::Scenario scenario =
            Tool::readScenario( { path, std::nullopt, {} }, Tool::stepKinds() );
        Fuzz::require( !scenario.steps.empty(), "a scenario has steps" );
        for ( const Tool::ScenarioStep& step : scenario.steps ) {
            Fuzz::require( step.step != nullptr && !step.kind.empty(), "a step is of a kind" );
        }
    };
    Fuzz::acceptsOrRefuses( path, text, read, Fuzz::OtherFiles::named );
    return 0;
}
