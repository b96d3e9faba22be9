// A hash map from text to values that iterates in insertion order. Keys are compared unit by unit. Elements do not
// move: a reference is valid until its element is erased.
#pragma once

#include <list>
#include <unordered_map>
#include <utility>

#include "common/WideText.h"

template <typename Value>
class OrderedMap {
  public:
    using Element = std::pair<const WideString, Value>;
    using iterator = typename std::list<Element>::iterator;
    using const_iterator = typename std::list<Element>::const_iterator;

    iterator begin() { return elements_.begin(); }
    iterator end() { return elements_.end(); }
    const_iterator begin() const { return elements_.begin(); }
    const_iterator end() const { return elements_.end(); }
    std::size_t size() const { return elements_.size(); }

    // Null when the key is missing.
    Value* find(WideView key) {
        const auto found = index_.find(key);
        return found == index_.end() ? nullptr : &found->second->second;
    }
    const Value* find(WideView key) const { return const_cast<OrderedMap*>(this)->find(key); }
    // Appends a new key, or replaces the value of a known one without changing its position.
    Value& set(WideView key, Value value) {
        if (Value* known = find(key)) return *known = std::move(value);
        elements_.emplace_back(WideString(key), std::move(value));
        const iterator added = std::prev(elements_.end());
        index_.emplace(added->first, added);
        return added->second;
    }
    // Removes the key before its value is destroyed, so that the destructor no longer finds it.
    void erase(WideView key) {
        const auto found = index_.find(key);
        if (found == index_.end()) return;
        const iterator element = found->second;
        index_.erase(found);
        elements_.erase(element);
    }
    template <typename Condition>
    void eraseIf(Condition condition) {
        for (iterator at = begin(); at != end();) {
            const iterator element = at++;
            if (condition(element->second)) erase(element->first);
        }
    }
    void clear() {
        index_.clear();
        elements_.clear();
    }

  private:
    std::list<Element> elements_;
    std::unordered_map<WideView, iterator> index_;  // the keys are views of the elements' keys
};
