// Stands in for opencode: loads a plugin file, hands it the events that come as lines of JSON, and prints each answer
// that the plugin gives. The line "dispose" ends it in opencode's manner.
import { createInterface } from "node:readline"
import { pathToFileURL } from "node:url"

const say = (message) => process.stdout.write(JSON.stringify(message) + "\n")
const client = {
  postSessionIdPermissionsPermissionId: async ({ path, body }) => {
    say({ session: path.id, permission: path.permissionID, response: body.response })
    if (process.env.REFUSE_ANSWERS) throw new Error("refused")
  },
}

const [file, directory] = process.argv.slice(2)
const hooks = []
for (const make of Object.values(await import(pathToFileURL(file).href))) hooks.push(await make({ client, directory }))
say("loaded")

for await (const line of createInterface({ input: process.stdin })) {
  for (const hook of hooks) {
    if (line === "dispose") await hook.dispose?.()
    else await hook.event?.({ event: JSON.parse(line) })
  }
  if (line === "dispose") say("disposed")
}
