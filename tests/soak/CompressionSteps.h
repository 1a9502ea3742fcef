#pragma once

/// The compression tables: values are given classes, shared, and given back.

#include "tests/soak/Steps.h"

namespace Soak {

class CompressionSteps : public Steps
{
  public:
    /// The chip has compression tables.
    using Steps::Steps;

    void step() override;
    void audit() override;
    void releaseAll() override;

  private:
    using Table = Reference::CompressionManager::Table;
    using Key = Reference::CompressionManager::Key;

    struct User
    {
        Table table;
        Key key;
    };

    [[nodiscard]] User anyValue();
    void acquire();
    void release( const User& user );

    std::vector< User > users_;
};

} // namespace Soak
