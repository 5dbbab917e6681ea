// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/channel/ChannelRegistry.h"

#include <atomic>
#include <utility>

#include <pthread.h>

namespace platform {

namespace {

// Replaced in a forked child: the lock of the parent's may be held for ever.
std::atomic<ChannelRegistry*> g_shared = nullptr;
// The one replaced, in a child; it stays.
[[maybe_unused]] std::atomic<ChannelRegistry*> g_ofParent = nullptr;

}  // namespace

ChannelRegistry& ChannelRegistry::shared() {
  static const bool made = [] {
    g_shared = new ChannelRegistry;
    pthread_atfork(nullptr, nullptr, makeForChild);
    return true;
  }();
  static_cast<void>(made);
  return *g_shared.load();
}

void ChannelRegistry::makeForChild() {
  auto* const own = new ChannelRegistry;
  // No handle of the parent's may name a channel of the child's.
  constexpr std::uintptr_t kGap = std::uintptr_t{1} << 20U;
  own->m_lastHandle = g_shared.load()->m_lastHandle + kGap;
  g_ofParent = g_shared.load();
  g_shared = own;
}

SpeechChannel ChannelRegistry::newHandle() {
  const base::ScopedLock held(m_lock);
  m_lastHandle += alignof(SpeechChannelRecord);
  // Never followed, by us or by clients.
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
