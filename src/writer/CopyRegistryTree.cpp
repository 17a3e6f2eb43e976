// The tree copy: a breadth-first walk over a queue of reader and writer pairs, with every failure
// of the library wrapped into Unexpected with a text that says where it happened.

#include "Tessel/CopyRegistryTree.h"

#include <deque>
#include <memory>
#include <utility>
#include <vector>

#include "Tessel/ConfigReaderFactory.h"
#include "Tessel/Exceptions.h"
#include "Tessel/PersistentDataWriterFactory.h"

namespace Tessel {

namespace {

// One source dataset and the target that it goes into.
using PendingCopy = std::pair<std::shared_ptr<IConfigReader>, std::shared_ptr<IPersistentDataWriter>>;

void CopyBreadthFirst(const IConfigReader& reader, IPersistentDataWriter& writer, bool recursive, bool overwrite)
{
    // The caller's objects give their locations alone; their state plays no part.
    // The source is opened before the target is asked for, so that when both fail the copy
    // reports the source; the arguments of one call would be made in no fixed order.
    std::shared_ptr<IConfigReader> top = ConfigReaderFactory::GetInstance().GetConfigReader(reader.GetDatasetPath());
    std::shared_ptr<IPersistentDataWriter> topTarget =
        PersistentDataWriterFactory::GetInstance().GetPersistentDataWriter(writer.GetDatasetPath());
    std::deque<PendingCopy> queue;
    queue.emplace_back(std::move(top), std::move(topTarget));

    while (!queue.empty()) {
        const std::shared_ptr<IConfigReader> source = queue.front().first;
        const std::shared_ptr<IPersistentDataWriter> target = queue.front().second;
        try {
            target->CopyParameters(*source, overwrite);
        } catch (const ExceptionBase& failure) {
            throw Unexpected(L"Failed to copy parameters from reader '%s' to writer '%s'. Message = '%s'.",
                             source->GetDatasetPath().c_str(), target->GetDatasetPath().c_str(),
                             failure.GetDescription());
        }

        {
            // Released before the next element is taken: only the queue holds keys beyond it.
            const std::vector<std::shared_ptr<IConfigReader>> subReaders = source->GetSubDatasets();
            for (const std::shared_ptr<IConfigReader>& subReader : subReaders) {
                // The reader's short name, also where the writer would name the key otherwise.
                const std::wstring name = subReader->GetDatasetName();
                try {
                    target->CreateSubDataset(name);
                    if (recursive)
                        queue.emplace_back(subReader, target->GetSubDataset(name));
                } catch (const ExceptionBase& failure) {
                    throw Unexpected(L"Failed to copy sub dataset '%s' from reader '%s'. Message ='%s'", name.c_str(),
                                     subReader->GetDatasetPath().c_str(), failure.GetDescription());
                }
            }
        }
        queue.pop_front();
    }
}

} // namespace

void CopyRegistryTree(const IConfigReader& reader, IPersistentDataWriter& writer, bool recursive, bool overwrite)
{
    try {
        CopyBreadthFirst(reader, writer, recursive, overwrite);
    } catch (const ExceptionBase& failure) {
        throw Unexpected(L"'Tessel::CopyRegistryTree': Errors found during copy from '%s' to '%s'. Message ='%s'",
                         reader.GetDatasetPath().c_str(), writer.GetDatasetPath().c_str(), failure.GetDescription());
    }
}

} // namespace Tessel
