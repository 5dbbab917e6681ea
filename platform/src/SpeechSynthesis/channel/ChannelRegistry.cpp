// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/ChannelRegistry.h"

#include <atomic>
#include <new>
#include <utility>

#include <pthread.h>

namespace platform {

namespace {

// Replaced in a forked child, since the parent's lock may have been held at the fork and would
// never be released in the child.
std::atomic<ChannelRegistry*> g_shared = nullptr;
// In a child: the parent's object. Kept, so that leak checkers find a pointer to it.
[[maybe_unused]] std::atomic<ChannelRegistry*> g_ofParent = nullptr;

}  // namespace

ChannelRegistry& ChannelRegistry::shared() {
  static const bool made = [] {
    // A part of this may have succeeded before.
    if (g_shared == nullptr) g_shared = new ChannelRegistry;
    if (pthread_atfork(nullptr, nullptr, makeForChild) != 0) throw std::bad_alloc();
    return true;
  }();
  static_cast<void>(made);
  return *g_shared.load();
}

void ChannelRegistry::makeForChild() {
  auto* const own = new ChannelRegistry;
  // A handle of the parent must not find a channel of the child, not even one that the parent
  // created during the fork. The parent's lock is not taken: it may never be released here.
  constexpr std::uintptr_t kGap = std::uintptr_t{1} << 20U;
  own->m_lastHandle = g_shared.load()->m_lastHandle + kGap;
  g_ofParent = g_shared.load();
  g_shared = own;
}

SpeechChannel ChannelRegistry::newHandle() {
  const base::ScopedLock held(m_lock);
  m_lastHandle += alignof(SpeechChannelRecord);
  // The value is only compared, never dereferenced.
  return reinterpret_cast<SpeechChannel>(m_lastHandle);  // NOLINT(performance-no-int-to-ptr)
}

void ChannelRegistry::add(std::shared_ptr<Channel> channel) {
  const base::ScopedLock held(m_lock);
  const SpeechChannel handle = channel->handle();
  m_channels.emplace(handle, std::move(channel));
}

std::shared_ptr<Channel> ChannelRegistry::find(SpeechChannel handle) const {
  const base::ScopedLock held(m_lock);
  const auto found = m_channels.find(handle);
  return found == m_channels.end() ? nullptr : found->second;
}

std::shared_ptr<Channel> ChannelRegistry::remove(SpeechChannel handle) {
  const base::ScopedLock held(m_lock);
  const auto node = m_channels.extract(handle);
  return node.empty() ? nullptr : node.mapped();
}

std::vector<std::shared_ptr<Channel>> ChannelRegistry::all() const {
  const base::ScopedLock held(m_lock);
  std::vector<std::shared_ptr<Channel>> channels;
  channels.reserve(m_channels.size());
  for (const auto& [handle, channel] : m_channels) channels.push_back(channel);
  return channels;
}

}  // namespace platform
