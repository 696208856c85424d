#pragma once

#include "runner/BaseMsgProtocol.h"

namespace tvn
{

/// The messages of the runner service's pipe, requests as well as answers: the client and the
/// service use the same class.
class RunnerProtocol : public BaseMsgProtocol
{
  public:
    using BaseMsgProtocol::BaseMsgProtocol;

    boost::shared_ptr<BaseMsg> CreateMsg(std::uint32_t type) override;
};

}  // namespace tvn
