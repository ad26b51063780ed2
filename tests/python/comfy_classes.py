"""Node classes of a ComfyUI server and a usual graph of them."""

TEXT = ["STRING", {"multiline": True}]
SIZE = ["INT", {"default": 512, "min": 16, "max": 16384, "step": 8}]
SEED = ["INT", {"default": 0, "min": 0, "max": 18446744073709551615, "control_after_generate": True}]
CHECKPOINTS = [["base.safetensors", "xl.safetensors"]]
PICTURES = [["example.png"], {"image_upload": True}]
CONDITIONS = {"positive": ["CONDITIONING"], "negative": ["CONDITIONING"]}
LINKS = {**CONDITIONS, "model": ["MODEL"]}
CLASSES = {
    # name: inputs, outputs, whether it is an output node
    "CheckpointLoaderSimple": ({"ckpt_name": CHECKPOINTS}, ["MODEL", "CLIP", "VAE"], False),
    "CLIPTextEncode": ({"text": TEXT, "clip": ["CLIP"]}, ["CONDITIONING"], False),
    "LoadImage": ({"image": PICTURES}, ["IMAGE", "MASK"], False),
    "EmptyLatentImage": ({"width": SIZE, "height": SIZE, "batch_size": ["INT", {}]}, ["LATENT"], False),
    "ControlNetApplyAdvanced": ({**CONDITIONS, "image": ["IMAGE"]}, ["CONDITIONING", "CONDITIONING"], False),
    "KSampler": ({**LINKS, "seed": SEED, "steps": ["INT", {}], "latent_image": ["LATENT"]}, ["LATENT"], False),
    "VAEDecode": ({"samples": ["LATENT"], "vae": ["VAE"]}, ["IMAGE"], False),
    "SaveImage": ({"images": ["IMAGE"], "filename_prefix": ["STRING", {}]}, [], True),
    "PreviewImage": ({"images": ["IMAGE"]}, [], True),
    "StringNode": ({"value": TEXT}, ["STRING"], False),
    "IntNode": ({"value": ["INT", {}]}, ["INT"], False),
}


def class_info(name):
    if name not in CLASSES:
        return {}
    inputs, outputs, is_output = CLASSES[name]
    return {name: {"input": {"required": inputs}, "output": outputs, "output_node": is_output}}


def graph():
    """A usual graph in API format: the guide through a ControlNet into a sampler."""

    def node(kind, title="", **inputs):
        return {"class_type": kind, "inputs": inputs, "_meta": {"title": title or kind}}

    guided = {"positive": ["6", 0], "negative": ["6", 1]}
    return {
        "1": node("CheckpointLoaderSimple", ckpt_name="base.safetensors"),
        "2": node("CLIPTextEncode", text="a house", clip=["1", 1]),
        "3": node("CLIPTextEncode", text="blurry", clip=["1", 1]),
        "4": node("LoadImage", image="example.png"),
        "5": node("EmptyLatentImage", width=512, height=512, batch_size=1),
        "6": node("ControlNetApplyAdvanced", positive=["2", 0], negative=["3", 0], image=["4", 0]),
        "7": node("KSampler", "Paint", seed=5, steps=4, model=["1", 0], **guided, latent_image=["5", 0]),
        "8": node("VAEDecode", samples=["7", 0], vae=["1", 2]),
        "9": node("SaveImage", images=["8", 0], filename_prefix="ComfyUI"),
    }
