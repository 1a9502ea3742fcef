#include "agent/base/Node.h"

namespace Agent {

Node::~Node() = default;

void Node::lastUserGone()
{
    delete this;
}

Node* Node::publisher()
{
    return nullptr;
}

} // namespace Agent
