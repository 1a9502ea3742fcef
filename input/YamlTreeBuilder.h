#pragma once

/// Turns the events of the YAML parser into a tree of nodes, and refuses what is not accepted.
/// Internal to `YamlDocument`.

#include "input/YamlDocument.h"
#include "input/YamlPlaces.h"

#include <yaml-cpp/eventhandler.h>

namespace Input {

class YamlTreeBuilder : public YAML::EventHandler
{
  public:
    /// The places must outlive the builder.
    YamlTreeBuilder( const std::string& file, const YamlPlaces& places );

    /// The tree of the document; a node of kind `nothing` if there was none.
    [[nodiscard]] YamlNode takeRoot();

    void OnDocumentStart( const YAML::Mark& mark ) override;

    void OnDocumentEnd() override {}

    void OnNull( const YAML::Mark& mark, YAML::anchor_t anchor ) override;
    void OnAlias( const YAML::Mark& mark, YAML::anchor_t anchor ) override;
    void OnScalar( const YAML::Mark& mark,
                   const std::string& tag,
                   YAML::anchor_t anchor,
                   const std::string& value ) override;
    void OnSequenceStart( const YAML::Mark& mark,
                          const std::string& tag,
                          YAML::anchor_t anchor,
                          YAML::EmitterStyle::value style ) override;
    void OnSequenceEnd() override;
    void OnMapStart( const YAML::Mark& mark,
                     const std::string& tag,
                     YAML::anchor_t anchor,
                     YAML::EmitterStyle::value style ) override;
    void OnMapEnd() override;

  private:
    [[nodiscard]] YamlNode
    nodeAt( const YAML::Mark& mark, YAML::anchor_t anchor, YamlNode::Kind kind ) const;
    void add( YamlNode node );
    void close();
    static void addKey( YamlNode& mapping, YamlNode key );

    std::shared_ptr< const std::string > file_;
    const YamlPlaces& places_;
    std::vector< YamlNode > open_; // The lists and mappings around the current place.
    std::optional< YamlNode > root_;
    bool hasDocument_ = false;
};

} // namespace Input
