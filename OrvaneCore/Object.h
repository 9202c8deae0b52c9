#pragma once

namespace Orvane {

/// Root marker of the core's classes; holds nothing.
class Object {};

/// Root of the core's classes that are deleted through a base pointer.
class Polymorphic : public Object {
  public:
    virtual ~Polymorphic() = default;
};

}  // namespace Orvane
