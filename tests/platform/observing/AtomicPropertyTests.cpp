// SPDX-License-Identifier: Apache-2.0
// Properties that several threads read and set at once. Most of what these tests can find shows
// under a thread sanitizer only.
#include <gtest/gtest.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/BlockPool.h>
#include <vexil/platform/detail/SpinLock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Object;
using platform::ObservingOptions;
using platform::Value;

/// Runs `body(0)` to `body(count - 1)` on as many threads, all at once.
template <class Body>
void onThreads(int count, const Body& body) {
  std::atomic<int> waiting = count;
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) {
    threads.emplace_back([&, number] {
      --waiting;
      while (waiting > 0) {
        std::this_thread::yield();
      }
      body(number);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

/// An object that knows how many of its kind there are.
class Counted : public Object {
 public:
  Counted() { ++alive; }
  ~Counted() override {
    _content = -1;
    --alive;
  }
  [[nodiscard]] int content() const { return _content; }
  static inline std::atomic<int> alive = 0;

 private:
  int _content = 7;
};

class Holder : public platform::Observable {
 public:
  [[nodiscard]] Value value() const { return read(_value); }
  void setValue(const Value& value) { assign("value", _value, value); }
  [[nodiscard]] std::shared_ptr<Counted> object() const { return read(_object); }
  void setObject(std::shared_ptr<Counted> object) { assign("object", _object, std::move(object)); }
  [[nodiscard]] std::shared_ptr<Counted> weak() const { return read(_weak).lock(); }
  void setWeak(const std::shared_ptr<Counted>& object) {
    assign("weak", _weak, std::weak_ptr<Counted>(object));
  }
  [[nodiscard]] std::string text() const { return read(_text); }
  void setText(std::string text) { assign("text", _text, std::move(text)); }

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(nullptr,
                                {KeyAccess::readWrite<&Holder::value, &Holder::setValue>("value"),
                                 KeyAccess::readOnly<&Holder::object>("object")});
    return table;
  }

 private:
  Value _value;
  std::shared_ptr<Counted> _object;
  std::weak_ptr<Counted> _weak;
  std::string _text;
};

constexpr int threadCount = 4;
constexpr int rounds = 4000;

TEST(AtomicProperty, OfValuesIsAlwaysReadWhole) {
  // Values of every way of storing; whatever a reader sees must be one of them.
  const std::vector<Value> values{Value(),
                                  "short",
                                  std::string(23, 'i'),
                                  std::string(24, 'o'),
                                  std::string(500, 'l'),
                                  1,
                                  UINT64_MAX,
                                  2.5,
                                  Date{1.5},
                                  Value::array({1, "two", Value::array({3})}),
                                  Value::dictionary({{"a", 1}, {"b", std::string(30, 'b')}}),
                                  std::make_shared<Counted>()};
  const auto holder = std::make_shared<Holder>();
  std::array<int, threadCount> mistakes{};
  onThreads(threadCount, [&](int number) {
    for (int i = 0; i < rounds; ++i) {
      const auto index = static_cast<std::size_t>(i * (number + 1)) % values.size();
      if (number % 2 == 0) {
        holder->setValue(values[index]);
      }
      const Value seen = holder->value();
      mistakes[static_cast<std::size_t>(number)] +=
          std::ranges::find(values, seen) == values.end() ? 1 : 0;
    }
  });
  EXPECT_EQ(mistakes, (std::array<int, threadCount>{}));
}

TEST(AtomicProperty, OfFreshValuesReleasesEachOnce) {
  const int before = Counted::alive;
  {
    const auto holder = std::make_shared<Holder>();
    onThreads(threadCount, [&](int number) {
      for (int i = 0; i < rounds; ++i) {
        if (i % 2 == number % 2) {
          holder->setValue(Value::array({std::make_shared<Counted>(), std::string(40, 'x'), i}));
        } else if (const Value seen = holder->value(); seen.isArray()) {
          EXPECT_EQ(static_cast<const Counted&>(*seen.elements()[0].object()).content(), 7);
        }
      }
    });
  }
  EXPECT_EQ(Counted::alive, before);
}

TEST(AtomicProperty, OfObjectsHandsOutAnOwningCopy) {
  const int before = Counted::alive;
  {
    const auto holder = std::make_shared<Holder>();
    onThreads(threadCount, [&](int number) {
      for (int i = 0; i < rounds; ++i) {
        if (number == 0) {
          holder->setObject(std::make_shared<Counted>());
        } else if (const auto seen = holder->object()) {
          EXPECT_EQ(seen->content(), 7);
        }
      }
    });
  }
  EXPECT_EQ(Counted::alive, before);
}

TEST(AtomicProperty, ThatIsWeakReadsAsTheObjectOrAsNothing) {
  const auto holder = std::make_shared<Holder>();
  onThreads(threadCount, [&](int number) {
    for (int i = 0; i < rounds; ++i) {
      if (number % 2 == 0) {
        const auto passing = std::make_shared<Counted>();
        holder->setWeak(passing);
        EXPECT_EQ(passing->content(), 7);
      } else if (const auto seen = holder->weak()) {
        EXPECT_EQ(seen->content(), 7);
      }
    }
  });
  EXPECT_EQ(holder->weak(), nullptr);
}

TEST(AtomicProperty, OfStringsIsReadWhole) {
  const auto holder = std::make_shared<Holder>();
  onThreads(threadCount, [&](int number) {
    const std::string mine(static_cast<std::size_t>(1 + number * 20),
                           static_cast<char>('a' + number));
    for (int i = 0; i < rounds; ++i) {
      holder->setText(mine);
      const std::string seen = holder->text();
      ASSERT_FALSE(seen.empty());
      ASSERT_EQ(seen.find_first_not_of(seen.front()), std::string::npos);
      ASSERT_EQ(seen.size(), static_cast<std::size_t>(1 + (seen.front() - 'a') * 20));
    }
  });
}

TEST(AtomicProperty, IsReadAndSetByKeyJustAsWell) {
  const auto holder = std::make_shared<Holder>();
  onThreads(threadCount, [&](int number) {
    for (int i = 0; i < rounds; ++i) {
      holder->setValueForKey(std::string(static_cast<std::size_t>(number) * 20, 'k'), "value");
      EXPECT_TRUE(holder->valueForKey("value").isString());
    }
  });
}

TEST(AtomicProperty, MayBeReadWhileAnObservedObjectIsSetOnItsThread) {
  struct Listener : platform::Observer {
    void observeValueForKeyPathOfObjectChangeContext(const platform::Key&,
                                                     const std::shared_ptr<platform::Observable>&,
                                                     const platform::ChangeRecord& change,
                                                     const platform::ContextToken*) override {
      heard += change.newValue.isString() ? 1 : 0;
    }
    int heard = 0;
  };
  const auto holder = std::make_shared<Holder>();
  const auto listener = std::make_shared<Listener>();
  holder->addObserver(listener, "value", ObservingOptions::both, nullptr);
  onThreads(threadCount, [&](int number) {
    for (int i = 0; i < rounds; ++i) {
      if (number == 0) {
        holder->setValue(std::string(30, 'v'));
      } else {
        const Value seen = holder->value();
        EXPECT_TRUE(seen.isAbsent() || seen.string().size() == 30);
      }
    }
  });
  EXPECT_EQ(listener->heard, rounds);
}

TEST(SharedValue, IsCopiedReadAndDroppedOnEveryThread) {
  Value shared = Value::dictionary(
      {{"list", Value::array({1, std::string(50, 's'), std::make_shared<Counted>()})}});
  std::array<Value, threadCount> copies;
  copies.fill(shared);
  shared = Value();
  onThreads(threadCount, [&](int number) {
    Value mine = std::move(copies[static_cast<std::size_t>(number)]);
    for (int i = 0; i < rounds; ++i) {
      const Value copy = mine;
      const Value list = copy["list"];
      EXPECT_EQ(list.elements()[1].string().size(), 50U);
      EXPECT_EQ(copy, mine);
      EXPECT_EQ(copy.hash(), mine.hash());
    }
    mine = Value();
  });
  EXPECT_EQ(Counted::alive, 0);
}

TEST(SharedKey, AndShapesComeAndGoOnEveryThread) {
  onThreads(threadCount, [](int number) {
    for (int i = 0; i < rounds; ++i) {
      const std::string key = "shared key " + std::to_string(i % 3);
      const Value record = Value::dictionary({{key, number}, {"other", i}});
      EXPECT_EQ(record[key], number);
    }
  });
}

/// Counts what it is told under each key.
class CountingObserver : public platform::Observer {
 public:
  void observeValueForKeyPathOfObjectChangeContext(
      const platform::Key& keyPath, const std::shared_ptr<platform::Observable>& /*object*/,
      const platform::ChangeRecord& /*change*/,
      const platform::ContextToken* /*context*/) override {
    ++(keyPath.text() == "value" ? values : keyPath.text() == "text" ? texts : others);
  }
  std::atomic<int> values = 0;
  std::atomic<int> texts = 0;
  std::atomic<int> others = 0;
};

TEST(SharedObserver, IsRegisteredOnObjectsOfEveryThread) {
  const auto observer = std::make_shared<CountingObserver>();
  constexpr int objects = rounds / 4;
  onThreads(threadCount, [&](int) {
    for (int i = 0; i < objects; ++i) {
      const auto mine = std::make_shared<Holder>();
      mine->addObserver(observer, "value", ObservingOptions::both, nullptr);
      mine->addObserver(observer, "text", ObservingOptions::none, nullptr);
      mine->setValue(i);
      mine->removeObserver(observer, "value", nullptr);
      mine->setValue(-i);
      mine->setText("told");
    }
  });
  EXPECT_EQ(observer->values, threadCount * objects) << "those set before it withdrew";
  EXPECT_EQ(observer->texts, threadCount * objects);
  EXPECT_EQ(observer->others, 0);
}

TEST(SpinLock, LetsOneThreadInAtATime) {
  platform::detail::SpinLock lock;
  int count = 0;
  onThreads(threadCount, [&](int) {
    for (int i = 0; i < rounds; ++i) {
      const std::lock_guard guard(lock);
      ++count;
    }
  });
  EXPECT_EQ(count, threadCount * rounds);
}

TEST(AtomicBlockPool, HandsEachThreadBlocksOfItsOwn) {
  platform::detail::BlockPool pool(48);
  onThreads(4, [&](int number) {
    std::vector<int*> mine;
    for (int i = 0; i < 2000; ++i) {
      mine.push_back(new (pool.allocate()) int(number));
      if (i % 3 == 0) {
        ASSERT_EQ(*mine[mine.size() / 2], number);
        std::swap(mine[mine.size() / 2], mine.back());
        pool.deallocate(mine.back());
        mine.pop_back();
      }
    }
    for (int* block : mine) {
      ASSERT_EQ(*block, number);
      pool.deallocate(block);
    }
  });
  EXPECT_LE(pool.slabCount(), platform::detail::BlockPool::fewSlabs + 1);
}

}  // namespace
