"""Trains the detector or the segmentation network; keeps a checkpoint from which `--resume` goes on."""

import argparse
import copy
import math
import time
from pathlib import Path

import cv2
import numpy as np
import torch

import detect_loss
import segment_loss
from dataset import COUNT, Scenes, batch
from network import Detector, Segmenter

BATCH = 16
WARM_UP = 300
WEIGHT_DECAY = 0.02


def rate_at(step, steps, peak):
    """Short warm-up, then half a cosine down to a fiftieth."""
    if step < WARM_UP:
        return peak * (step + 1) / WARM_UP
    share = (step - WARM_UP) / max(1, steps - WARM_UP)
    return peak * (0.02 + 0.98 * 0.5 * (1 + math.cos(math.pi * min(1.0, share))))


class Average:
    """Exponential moving average of the weights: the network that is exported."""

    def __init__(self, network):
        self.network = copy.deepcopy(network).eval()

    @torch.no_grad()
    def update(self, network, step):
        keep = 0.9995 * (1 - math.exp(-step / 400))
        for mine, theirs in zip(self.network.state_dict().values(), network.state_dict().values()):
            if mine.dtype.is_floating_point:
                mine.mul_(keep).add_(theirs, alpha=1 - keep)
            else:
                mine.copy_(theirs)


def optimizer_of(network, rate):
    """Weight decay for convolution weights alone."""
    decayed = [p for p in network.parameters() if p.ndim > 1]
    plain = [p for p in network.parameters() if p.ndim <= 1]
    groups = [{"params": decayed, "weight_decay": WEIGHT_DECAY}, {"params": plain, "weight_decay": 0.0}]
    return torch.optim.AdamW(groups, lr=rate)


def truth_rows(truths):
    """One tensor with the picture's position in front of each object's row."""
    rows = [np.concatenate((np.full((len(t), 1), i, np.float32), t), 1) for i, t in enumerate(truths)]
    return torch.from_numpy(np.concatenate(rows))


class Run:
    """One training run: networks, optimizer, step counter, checkpoint file."""

    def __init__(self, args):
        self.args = args
        torch.manual_seed(args.seed)
        self.network = build(args).to(memory_format=torch.channels_last)
        self.optimizer = optimizer_of(self.network, args.rate)
        self.average = Average(self.network)
        self.step = 0
        self.file = Path(args.checkpoint)
        if args.resume and self.file.exists():
            self._load()

    def _load(self):
        state = torch.load(self.file)
        self.network.load_state_dict(state["network"])
        self.average.network.load_state_dict(state["average"])
        self.optimizer.load_state_dict(state["optimizer"])
        self.step = state["step"]
        print(f"goes on at step {self.step}", flush=True)

    def save(self):
        state = {"network": self.network.state_dict(), "average": self.average.network.state_dict(),
                 "optimizer": self.optimizer.state_dict(), "step": self.step, "task": self.args.task}
        fresh = self.file.with_suffix(".new")
        torch.save(state, fresh)
        fresh.replace(self.file)

    def forward_loss(self, pictures, indices, truths):
        x = torch.from_numpy(pictures).permute(0, 3, 1, 2).float().div_(255)
        with torch.autocast("cpu", dtype=torch.bfloat16, enabled=self.args.bf16):
            outputs = self.network(x)
        if self.args.task == "detect":
            return detect_loss.loss(outputs, truth_rows(truths), self.network.classes)
        return segment_loss.loss(outputs, truth_rows(truths), torch.from_numpy(indices), self.network.classes)

    def one_step(self, scenes, steps):
        rng = np.random.default_rng([self.args.seed, self.step])
        picks = np.sort(rng.choice(len(scenes), BATCH, replace=False))
        value, parts = self.forward_loss(*batch(scenes, picks, rng))
        for group in self.optimizer.param_groups:
            group["lr"] = rate_at(self.step, steps, self.args.rate)
        self.optimizer.zero_grad(set_to_none=True)
        value.backward()
        torch.nn.utils.clip_grad_norm_(self.network.parameters(), 10.0)
        self.optimizer.step()
        self.step += 1
        self.average.update(self.network, self.step)
        return value.item(), parts


def build(args):
    """A new network; with --start the detector's weights, or for segmentation those of its body."""
    network = Detector() if args.task == "detect" else Segmenter()
    if args.start:
        state = torch.load(args.start)["average"]
        if args.task == "detect":
            network.load_state_dict(state)
        else:
            network.body.load_state_dict(body_of(state))
    return network


def body_of(state):
    return {name[len("body."):]: value for name, value in state.items() if name.startswith("body.")}


def train(run, scenes, steps):
    args = run.args
    begun, first, window = time.time(), run.step, []
    while run.step < steps:
        value, parts = run.one_step(scenes, steps)
        if not math.isfinite(value):
            raise SystemExit(f"the loss is {value} at step {run.step}: lower --rate")
        window.append((value, *parts))
        if run.step % 100 == 0 or run.step == steps:
            speed = (run.step - first) / (time.time() - begun)
            means = " ".join(f"{v:.4f}" for v in np.mean(window, 0))
            print(f"step {run.step}/{steps} loss {means} pictures/s {speed * BATCH:.1f} "
                  f"left {(steps - run.step) / speed / 60:.1f} min", flush=True)
            window.clear()
        if run.step % 500 == 0 or run.step == steps:
            run.save()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("task", choices=("detect", "segment"))
    parser.add_argument("--scenes", required=True)
    parser.add_argument("--count", type=int, default=COUNT)
    parser.add_argument("--checkpoint", required=True)
    parser.add_argument("--pictures", type=int, required=True, help="pictures to see in all")
    parser.add_argument("--start", help="detector checkpoint to start from")
    parser.add_argument("--rate", type=float, default=3e-3)
    parser.add_argument("--seed", type=int, default=7)
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--resume", action="store_true")
    parser.add_argument("--bf16", action="store_true", help="faster where the processor has bfloat16 instructions")
    args = parser.parse_args()
    torch.set_num_threads(args.threads)
    cv2.setNumThreads(1)
    train(Run(args), Scenes(args.scenes, args.count), args.pictures // BATCH)


if __name__ == "__main__":
    main()
