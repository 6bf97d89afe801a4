#pragma once

// A value or the error that stopped it. The error types of this library carry
// the sentence a person reads, so front ends can show them as they stand.

#include <cassert>
#include <utility>
#include <variant>

namespace tallyfin {

template <class E>
struct Unexpected {
  E error;
};

template <class E>
Unexpected<E> fail(E error) {
  return Unexpected<E>{std::move(error)};
}

template <class T, class E>
class [[nodiscard]] Expected {
 public:
  Expected(T value) : state_(std::in_place_index<0>, std::move(value)) {}
  template <class F>
  Expected(Unexpected<F> failure) : state_(std::in_place_index<1>, std::move(failure.error)) {}

  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }

  T& value() & {
    assert(ok());
    return std::get<0>(state_);
  }
  const T& value() const& {
    assert(ok());
    return std::get<0>(state_);
  }
  T&& value() && {
    assert(ok());
    return std::get<0>(std::move(state_));
  }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }

  const E& error() const {
    assert(!ok());
    return std::get<1>(state_);
  }

 private:
  std::variant<T, E> state_;
};

}  // namespace tallyfin
