#include "tq/concurrency/TQDispatchGroup.h"

#include "tq/platform/dispatch/DispatchGroup.h"

namespace tq {
namespace {

// Steps shared by `await` and `run`: a fresh group object whose performTask
// enters the dispatch group and hands the task the one shared "done".
Ref<TQDispatchGroup> prepare(const DispatchGroupRef& group) {
  auto wrapper = make<TQDispatchGroup>();
  TQDispatchGroup::Done done = [group] { group->leave(); };
  wrapper->setPerformTask([group, done](TQDispatchGroup::Task task) {
    group->enter();
    task(done);
  });
  return wrapper;
}

}  // namespace

TQDispatchGroup::PerformTask TQDispatchGroup::performTask() const {
  std::lock_guard lock(mutex_);
  return performTask_;
}

void TQDispatchGroup::setPerformTask(PerformTask performTask) {
  std::lock_guard lock(mutex_);
  performTask_ = std::move(performTask);
}

void TQDispatchGroup::await(const Setup& setup) {
  auto group = DispatchGroup::create();
  auto wrapper = prepare(group);
  setup(wrapper);
  group->wait();
}

void TQDispatchGroup::run(const Setup& setup, std::function<void()> withCompletion) {
  auto group = DispatchGroup::create();
  auto wrapper = prepare(group);
  setup(wrapper);
  if (withCompletion) group->notify(DispatchQueue::global(DispatchQueuePriority::Default), std::move(withCompletion));
}

void TQAwait::for_(const std::function<void(std::function<void()> done)>& work) {
  auto group = DispatchGroup::create();
  group->enter();
  work([group] { group->leave(); });
  group->wait();
}

}  // namespace tq
