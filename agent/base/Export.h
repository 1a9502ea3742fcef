#pragma once

/// Visibility of what a shared library of this project offers to others. Everything else is
/// hidden: the libraries are built with hidden visibility.

#define AGENT_EXPORT __attribute__( ( visibility( "default" ) ) )
#define PELORA_TCAM_EXPORT __attribute__( ( visibility( "default" ) ) )
