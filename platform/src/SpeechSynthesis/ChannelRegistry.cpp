// SPDX-License-Identifier: Apache-2.0
#include "ChannelRegistry.h"

#include <utility>

namespace platform {

ChannelRegistry& ChannelRegistry::shared() {
  static auto* const registry = new ChannelRegistry;
  return *registry;
}

SpeechChannel ChannelRegistry::newHandle() {
  const std::lock_guard held(m_lock);
  m_lastHandle += alignof(SpeechChannelRecord);
  // Never followed, by us or by clients.
  return reinterpret_cast<SpeechChannel>(m_lastHandle);  // NOLINT(performance-no-int-to-ptr)
}

void ChannelRegistry::add(std::shared_ptr<Channel> channel) {
  const std::lock_guard held(m_lock);
  const SpeechChannel handle = channel->handle();
  m_channels.emplace(handle, std::move(channel));
}

std::shared_ptr<Channel> ChannelRegistry::find(SpeechChannel handle) const {
  const std::lock_guard held(m_lock);
  const auto found = m_channels.find(handle);
  return found == m_channels.end() ? nullptr : found->second;
}

std::shared_ptr<Channel> ChannelRegistry::remove(SpeechChannel handle) {
  const std::lock_guard held(m_lock);
  const auto node = m_channels.extract(handle);
  return node.empty() ? nullptr : node.mapped();
}

std::vector<std::shared_ptr<Channel>> ChannelRegistry::all() const {
  const std::lock_guard held(m_lock);
  std::vector<std::shared_ptr<Channel>> channels;
  channels.reserve(m_channels.size());
  for (const auto& [handle, channel] : m_channels) channels.push_back(channel);
  return channels;
}

}  // namespace platform
