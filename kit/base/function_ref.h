#pragma once

// A callable passed down for the length of one call, without the allocation a
// std::function may make for a lambda that captures a few references: the walk
// hands one to every folder it lists.

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

namespace tallyfin {

template <class Signature>
class FunctionRef;

template <class R, class... Args>
class FunctionRef<R(Args...)> {
 public:
  // Refers to `callable`, which must outlive every call made through this.
  template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, FunctionRef> &&
             std::is_invocable_r_v<R, F&, Args...>)
  FunctionRef(F&& callable)
      : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        call_([](void* object, Args... args) -> R {
          return std::invoke(*static_cast<std::remove_reference_t<F>*>(object),
                             std::forward<Args>(args)...);
        }) {}

  R operator()(Args... args) const { return call_(object_, std::forward<Args>(args)...); }

 private:
  void* object_;
  R (*call_)(void*, Args...);
};

}  // namespace tallyfin
